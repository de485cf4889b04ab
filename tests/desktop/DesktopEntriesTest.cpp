#include <gtest/gtest.h>

#include <QXmlStreamReader>

#include "platform/linux/services/GioPointer.h"
#include "posix/ChildProcess.h"
#include "posix/Text.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

const std::string entries = QUILLO_BINARY_DIR "/resources-build/desktop";
const std::string polkit = QUILLO_BINARY_DIR "/packaging/polkit";

std::string valueIn(const std::string& file, const char* group, const char* key) {
  GKeyFile* const keys = g_key_file_new();
  EXPECT_TRUE(g_key_file_load_from_file(keys, file.c_str(), G_KEY_FILE_NONE, nullptr)) << file;
  const GioPointer<char> value(g_key_file_get_string(keys, group, key, nullptr));
  g_key_file_free(keys);
  return value ? value.get() : "";
}

TEST(DesktopEntries, StartTheAgentFromTheMenuAtLogInAndOverTheBus) {
  const std::string exec =
      valueIn(entries + "/org.vantrel.VantrelQuillo.desktop", "Desktop Entry", "Exec");
  // In quotes, as the path may have a space.
  EXPECT_TRUE(exec.starts_with("\"/")) << exec;
  EXPECT_TRUE(exec.ends_with("/start-session\"")) << exec;
  const std::string autostart = entries + "/autostart/org.vantrel.VantrelQuillo.desktop";
  EXPECT_EQ(valueIn(autostart, "Desktop Entry", "Exec"), exec);
  EXPECT_EQ(valueIn(autostart, "Desktop Entry", "X-GNOME-Autostart-Phase"), "");
  const std::string service = entries + "/org.vantrel.VantrelQuillo.service";
  EXPECT_EQ(valueIn(service, "D-BUS Service", "Exec"), exec);
  EXPECT_EQ(valueIn(service, "D-BUS Service", "Name"), "org.vantrel.VantrelQuillo");
}

TEST(DesktopEntries, NameTheClassThatTheAgentsWindowsHave) {
  EXPECT_EQ(
      valueIn(entries + "/org.vantrel.VantrelQuillo.desktop", "Desktop Entry", "StartupWMClass"),
      "org.vantrel.VantrelQuillo");
}

TEST(PolkitAction, IsWellFormedAndAlwaysAsksForAnAdministrator) {
  const std::string text = TemporaryFolder::read(polkit + "/org.vantrel.VantrelQuillo.policy");
  QXmlStreamReader reader(QByteArray::fromStdString(text));
  QStringList allowed;
  QString path;
  while (!reader.atEnd()) {
    if (reader.readNext() != QXmlStreamReader::StartElement) {
      continue;
    }
    if (reader.name().startsWith(u"allow_")) {
      allowed << reader.readElementText();
    } else if (reader.attributes().value("key") == u"org.freedesktop.policykit.exec.path") {
      path = reader.readElementText();
    }
  }
  EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
  EXPECT_EQ(allowed, QStringList({"auth_admin", "auth_admin", "auth_admin"}));
  EXPECT_TRUE(path.endsWith("/lib/vantrel-quillo/grant-helper-rights"));
}

TEST(PolkitAction, RunsNoOtherCommandThanItsOwn) {
  const TemporaryFolder folder;
  const std::string mark = folder.path() + "/mark";
  const std::vector<std::vector<std::string>> commands = {
      {}, {"/bin/touch", mark}, {"/bin/sh", "-c", "touch " + mark}, {"/bin/sh", "-c", ""}};
  for (const auto& command : commands) {
    ChildProcess granter({.launchPath = polkit + "/grant-helper-rights", .arguments = command});
    std::string said;
    granter.waitUntilExit([&](std::string_view chunk) {
      said += chunk;
      return true;
    });
    EXPECT_EQ(granter.terminationStatus(), 1);
    EXPECT_EQ(said.find("grant-helper-rights: runs nothing but: /bin/sh -c 'chown root \""), 0U);
  }
  EXPECT_FALSE(std::filesystem::exists(mark));
}

}  // namespace
}  // namespace quillo
