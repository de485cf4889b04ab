#pragma once

#include <QDBusConnection>
#include <functional>
#include <string>

#include "platform/CompanionDesktop.h"
#include "platform/linux/dialogs/ButtonEvents.h"
#include "platform/linux/names/LinuxTrashFolders.h"
#include "platform/linux/names/LinuxVolumes.h"
#include "platform/linux/notifications/FreedesktopNotifications.h"
#include "platform/linux/planned/SystemdTimers.h"
#include "platform/linux/preferences/TomlPreferenceStore.h"
#include "platform/linux/services/DesktopWorkspace.h"
#include "platform/linux/services/Environment.h"
#include "platform/linux/services/LinuxFolders.h"
#include "platform/linux/services/LinuxSystemLog.h"
#include "platform/linux/session/BusAgentLink.h"
#include "platform/linux/session/LinuxDesktopCheck.h"
#include "platform/linux/session/SessionBusNotificationCenter.h"
#include "platform/linux/text/StringTables.h"
#include "posix/Clock.h"

namespace quillo {

// Where what the main application has to say of itself goes: to the machine's log, as "vantrel",
// and for the window to standard error, too. Made before Qt's application object.
struct CompanionLog {
  explicit CompanionLog(bool toConsole);

  SystemClock clock;
  LinuxSystemLog systemLog;
  LibraryMessages libraryMessages{systemLog};
};

// The services of the main application that need no window. Main thread.
class CompanionBackend {
 public:
  // After Qt's application object.
  CompanionBackend(CompanionLog& log, Application& application);
  ~CompanionBackend();
  CompanionBackend(const CompanionBackend&) = delete;
  CompanionBackend& operator=(const CompanionBackend&) = delete;

  static constexpr const char* identifier = "org.vantrel.Vantrel";

  const Environment environment = Environment::ofThisProcess();
  LinuxSystemLog& systemLog;
  const std::function<void(const std::string&)> report;
  QDBusConnection sessionBus = QDBusConnection::sessionBus();
  LinuxFolders folders{environment, LinuxFolders::pathOfThisProgram()};
  const std::string resources = folders.resourceFolder();
  StringTables strings;
  TomlPreferenceStore preferences;
  SessionBusNotificationCenter notificationCenter{sessionBus};
  DesktopApplicationLauncher launcher{sessionBus, report};
  BusAgentLink agentLink{sessionBus, launcher, report};
  LinuxDesktopCheck desktopCheck{sessionBus, environment, folders.homeFolder()};
  FreedesktopNotifications growl;
  DesktopWorkspace workspace{sessionBus};
  LinuxTrashFolders trash;
  LinuxVolumeChanges volumeChanges;
  LinuxVolumes volumes;
  SystemdTimers plannedScans;
  QtModifierKeys modifierKeys;
  CompanionDesktop desktop;
};

}  // namespace quillo
