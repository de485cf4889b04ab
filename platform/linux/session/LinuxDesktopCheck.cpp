#include "platform/linux/session/LinuxDesktopCheck.h"

#include <QDBusMessage>
#include <QDBusVariant>
#include <cstddef>

#include "platform/linux/services/Environment.h"
#include "platform/linux/session/BusDaemon.h"
#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr char panelName[] = "org.kde.StatusNotifierWatcher";
constexpr char panelPath[] = "/StatusNotifierWatcher";
constexpr char notificationName[] = "org.freedesktop.Notifications";
constexpr char entryName[] = "/autostart/org.vantrel.VantrelQuillo.desktop";
constexpr std::size_t largestEntry = std::size_t{64} * 1024;
constexpr int longestAnswer = 2000;  // milliseconds

// Whether an entry asks not to be started, in its group "Desktop Entry".
bool isSwitchedOff(const std::string& entry) {
  bool isInGroup = false;
  for (const std::string_view line : split(entry, '\n')) {
    const std::string_view text = trimmed(line);
    if (text.starts_with('[')) {
      isInGroup = text == "[Desktop Entry]";
    }
    const std::size_t equals = text.find('=');
    if (!isInGroup || equals == std::string_view::npos) {
      continue;
    }
    const std::string_view key = trimmed(text.substr(0, equals));
    const std::string_view value = trimmed(text.substr(equals + 1));
    if ((key == "Hidden" && value == "true") ||
        (key == "X-GNOME-Autostart-enabled" && value == "false")) {
      return true;
    }
  }
  return false;
}

}  // namespace

LinuxDesktopCheck::LinuxDesktopCheck(const QDBusConnection& bus, const Environment& environment,
                                     const std::string& home)
    : bus_(bus) {
  configurations_.push_back(environment.folder("XDG_CONFIG_HOME").value_or(home + "/.config"));
  const std::string machines = environment.value("XDG_CONFIG_DIRS").value_or("/etc/xdg");
  for (const std::string_view folder : split(machines, ':')) {
    if (folder.starts_with('/')) {
      configurations_.emplace_back(folder);
    }
  }
}

DesktopFacts LinuxDesktopCheck::look() {
  DesktopFacts facts;
  facts.hasBus = bus_.isConnected();
  if (facts.hasBus) {
    lookForPanel(facts);
    facts.showsNotifications = BusDaemon(bus_).isServed(notificationName);
  }
  lookForEntry(facts);
  return facts;
}

void LinuxDesktopCheck::lookForPanel(DesktopFacts& facts) {
  facts.showsStatusItems = false;
  if (!BusDaemon(bus_).hasOwner(panelName)) {
    return;
  }
  QDBusMessage call = QDBusMessage::createMethodCall(panelName, panelPath,
                                                     "org.freedesktop.DBus.Properties", "Get");
  call << QString(panelName) << QStringLiteral("IsStatusNotifierHostRegistered");
  const QDBusMessage answer = bus_.call(call, QDBus::Block, longestAnswer);
  facts.showsStatusItems = answer.arguments().value(0).value<QDBusVariant>().variant().toBool();
}

void LinuxDesktopCheck::lookForEntry(DesktopFacts& facts) const {
  facts.autostart = DesktopFacts::Autostart::missing;
  for (const std::string& configuration : configurations_) {
    const std::string path = configuration + entryName;
    if (!fileExists(path)) {
      continue;
    }
    facts.autostartEntry = path;
    const auto entry = contentsOfRegularFile(path, Links::followed, largestEntry);
    facts.autostart = !entry                  ? DesktopFacts::Autostart::unknown
                      : isSwitchedOff(*entry) ? DesktopFacts::Autostart::off
                                              : DesktopFacts::Autostart::on;
    return;
  }
}

}  // namespace quillo
