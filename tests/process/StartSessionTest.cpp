// How a desktop starts the agent for whoever logs in.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "posix/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

constexpr char preferences[] = "home/.config/vantrel/org.vantrel.Vantrel.toml";

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class StartSession : public testing::Test {
 protected:
  StartSession() {
    const std::string lib = folder_.makeFolder("usr/lib/vantrel-quillo") + "/";
    fs::copy_file(QUILLO_SOURCE_DIR "/resources/desktop/start-session", lib + "start-session");
    fs::create_directory(lib + "preferences");
    for (const std::string file : {"first.toml.in", "first-preferences.sh"}) {
      fs::copy_file(QUILLO_SOURCE_DIR "/resources/preferences/" + file,
                    lib + "preferences/" + file);
    }
    folder_.writeProgram("usr/lib/vantrel-quillo/engine-tools/vantrel-engine-tree",
                         "#!/bin/sh\n[ ! -e \"" + path("broken") + "\" ] || exit 1\n" +
                             "mkdir -p \"$1/etc\"\necho \"$1\" >>\"" + path("made") + "\"\n");
    folder_.writeProgram("usr/bin/vantrel-quillo",
                         "#!/bin/sh\necho \"$@\" >\"" + path("started") + "\"\n");
    // Says where downloads go when the test has written it down.
    folder_.writeProgram("bin/xdg-user-dir", "#!/bin/sh\ncat \"" + path("downloads") + "\"\n");
    folder_.makeFolder("home");
    folder_.write("downloads", path("home"));
  }

  std::string path(const std::string& name) const { return folder_.path() + "/" + name; }
  std::string has(const std::string& name) const { return contentOf(path(name)); }
  bool exists(const std::string& name) const { return fs::exists(path(name)); }
  void logIn(const std::vector<std::string>& words = {}) {
    LaunchRequest request{path("usr/lib/vantrel-quillo/start-session"), words};
    request.environment = {"HOME=" + path("home"), "PATH=" + path("bin") + ":/usr/bin:/bin",
                           "XDG_CONFIG_DIRS=" + path("other") + ":" + path("etc")};
    ChildProcess child(request);
    EXPECT_EQ(child.waitUntilExit(), 0);
  }

  TemporaryFolder folder_;
};

TEST_F(StartSession, GivesANewUserAnEngineAndPreferencesThatGuardDownloads) {
  logIn();
  const std::string engine = path("home/.local/share/vantrel/engine");
  EXPECT_EQ(has("made"), engine + "\n");
  const std::string written = has(preferences);
  EXPECT_NE(written.find("\nPathToClamav = \"" + engine + "\"\n"), std::string::npos) << written;
  EXPECT_NE(written.find("\npathName = \"~/Downloads\"\n"), std::string::npos);
  EXPECT_TRUE(fs::is_directory(path("home/Downloads")));
  EXPECT_EQ(written.find('@'), std::string::npos);
  EXPECT_TRUE(exists("started"));
}

TEST_F(StartSession, GuardsTheFolderForDownloadsUnderItsNameInTheUsersLanguage) {
  folder_.write("downloads", path("home/T\u00e9l\"\u00e9chargements"));
  logIn();
  EXPECT_NE(has(preferences).find("\npathName = \"~/T\u00e9l\\\"\u00e9chargements\"\n"),
            std::string::npos)
      << has(preferences);
}

TEST_F(StartSession, GivesTheAgentItsWords) {
  logIn({"--help", "a b"});
  EXPECT_EQ(has("started"), "--help a b\n");
}

TEST_F(StartSession, LeavesPreferencesAloneThatAreThere) {
  folder_.write(preferences, "# mine\n");
  logIn();
  EXPECT_EQ(has(preferences), "# mine\n");
  EXPECT_FALSE(exists("made"));
  EXPECT_FALSE(exists("home/Downloads"));
  EXPECT_TRUE(exists("started"));
}

TEST_F(StartSession, TakesALinkThatLeadsNowhereForAChoice) {
  fs::create_directories(path("home/.config/vantrel"));
  fs::create_symlink("/no/such/file", path(preferences));
  logIn();
  EXPECT_TRUE(fs::is_symlink(path(preferences)));
  EXPECT_FALSE(exists("made"));
}

TEST_F(StartSession, LeavesTheChoiceToAnAdministratorsPreferencesForAll) {
  folder_.write("etc/vantrel/org.vantrel.Vantrel.toml", "PathToClamav = \"/srv/engine\"\n");
  logIn();
  EXPECT_FALSE(exists(preferences));
  EXPECT_FALSE(exists("made"));
}

TEST_F(StartSession, TakesAnEngineInTheAgentsOwnPreferencesForAChoice) {
  folder_.write("home/.config/vantrel/org.vantrel.VantrelQuillo.toml", "PathToClamav = \"/e\"\n");
  logIn();
  EXPECT_FALSE(exists(preferences));
}

TEST_F(StartSession, BringsAnEngineUpToDateThatIsThere) {
  folder_.write(preferences, "# mine\n");
  folder_.makeFolder("home/.local/share/vantrel/engine/etc");
  logIn();
  EXPECT_EQ(has("made"), path("home/.local/share/vantrel/engine") + "\n");
  EXPECT_EQ(has(preferences), "# mine\n");
}

TEST_F(StartSession, WritesPreferencesThatNobodyElseCanRead) {
  logIn();
  EXPECT_EQ(fs::status(path(preferences)).permissions(), fs::perms(0600));
}

TEST_F(StartSession, StartsTheAgentWithoutPreferencesWhereNoEngineCanBeMade) {
  folder_.write("broken", "");
  logIn();
  EXPECT_FALSE(exists(preferences));
  EXPECT_TRUE(exists("started"));
  fs::remove(path("broken"));
  logIn();
  EXPECT_TRUE(exists(preferences)) << "the next time is better";
}

}  // namespace
}  // namespace quillo
