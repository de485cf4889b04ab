#include "platform/linux/LinuxPlatform.h"

#include <malloc.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QTimer>
#include <utility>

#include "platform/linux/dialogs/ButtonEvents.h"
#include "platform/linux/dialogs/QtInterfaceLoader.h"
#include "platform/linux/dialogs/QtMainInterface.h"
#include "platform/linux/names/InotifyDepartures.h"
#include "platform/linux/names/LinuxNameWatch.h"
#include "platform/linux/names/LinuxTrashFolders.h"
#include "platform/linux/names/LinuxVolumes.h"
#include "platform/linux/names/NamePlan.h"
#include "platform/linux/notifications/FreedesktopNotifications.h"
#include "platform/linux/preferences/TomlPreferenceStore.h"
#include "platform/linux/services/DesktopWorkspace.h"
#include "platform/linux/services/Environment.h"
#include "platform/linux/services/Guarded.h"
#include "platform/linux/services/IdleThread.h"
#include "platform/linux/services/LinuxFolders.h"
#include "platform/linux/services/LinuxSystemLog.h"
#include "platform/linux/services/PolkitAuthorization.h"
#include "platform/linux/services/QtApplication.h"
#include "platform/linux/session/LogindPowerNotifications.h"
#include "platform/linux/session/ScriptingObject.h"
#include "platform/linux/session/SessionBusNotificationCenter.h"
#include "platform/linux/session/SingleInstance.h"
#include "platform/linux/text/StringTables.h"
#include "platform/linux/tray/QtDockTile.h"
#include "platform/linux/tray/QtImage.h"
#include "platform/linux/tray/QtStatusItem.h"
#include "posix/Accounts.h"

namespace quillo {
namespace {

constexpr const char* ownDomain = "org.vantrel.VantrelQuillo";

// A dozen threads that hold little: heaps of their own would each keep what was freed in them. A
// fixed threshold lets the lists of a storm go back to the system (mallopt(3)).
void keepMemorySmall() {
  mallopt(M_ARENA_MAX, 1);
  mallopt(M_MMAP_THRESHOLD, 128 * 1024);
  mallopt(M_TRIM_THRESHOLD, 128 * 1024);
}

}  // namespace

// In the order in which they need each other; destroyed in reverse.
struct LinuxPlatform::Parts {
  Parts(int& argc, char** argv);
  ~Parts() { setGuardReport(nullptr); }

  void log(const std::string& problem) { systemLog.log(problem); }
  void notify(const std::string& text);
  void reportPreferences(const std::string& problem, const Wording& wording);
  void reportDisplay(const DisplayProblem& problem);

  TerminationSignals signals;
  Environment environment = Environment::ofThisProcess();
  SystemClock clock;
  LinuxSystemLog systemLog{clock};
  LibraryMessages libraryMessages{systemLog};
  SingleInstance singleInstance{environment};
  QtApplication application;
  PostToMain postToMain = [this](std::function<void()> action) {
    application.performOnMainThread(std::move(action));
  };
  std::function<void(const std::string&)> report = [this](const std::string& text) { log(text); };
  QDBusConnection sessionBus = QDBusConnection::sessionBus();
  LinuxFolders folders{environment, LinuxFolders::pathOfThisProgram()};
  const std::string resources = folders.resourceFolder();
  StringTables strings{{resources + "/strings", resources + "/strings/windows"},
                       StringTables::preferredLanguages(environment),
                       report};
  // That of the tables: a menu in a third language would be worse than one in English.
  QtTranslation qtTranslation{strings.language()};
  TomlPreferenceStore preferences{TomlPreferenceStore::folders(environment, folders.homeFolder()),
                                  ownDomain,
                                  [this](const std::string& problem, const Wording& wording) {
                                    reportPreferences(problem, wording);
                                  }};
  FreedesktopNotifications growl{
      sessionBus, postToMain, clock, strings, resources + "/images/128/application.png", report};
  InotifyDepartures departures{postToMain, report};
  SessionBusNotificationCenter notificationCenter{sessionBus};
  ScriptingObject scripting{sessionBus, [this] { return application.reopen(); }, postToMain};
  LogindPowerNotifications power{QDBusConnection::systemBus(), report};
  LinuxMountNotifications mounts;
  LinuxNameWatch names{clock, report, hasFileHandles};
  LinuxVolumes volumes{accountNumbered(getuid()).name};
  LinuxTrashFolders trash{environment, folders.homeFolder(), getuid()};
  PolkitAuthorization authorization{{resources + "/gfslogger", resources + "/grant-helper-rights",
                                     "/usr/bin/pkexec", geteuid() == 0},
                                    strings};
  IdleThread idleThread;
  DesktopWorkspace workspace{sessionBus};
  DesktopApplicationLauncher launcher{sessionBus, report};
  QtModifierKeys modifierKeys;
  QtImageLoader images{resources + "/images"};
  QtInterfaceLoader interfaces{
      resources + "/interface", application, systemLog, images, strings, modifierKeys};
  QtMainInterface mainInterface{application, strings, interfaces};
  QtStatusBar statusBar{application};
  QtDockTile dockTile{resources + "/interface", application, [this] { application.terminate(); },
                      report};
  Platform platform{
      application, launcher,    authorization, idleThread, notificationCenter,
      dockTile,    departures,  folders,       growl,      images,
      interfaces,  strings,     modifierKeys,  mounts,     names,
      power,       preferences, scripting,     statusBar,  scripting.statusPublisher(),
      systemLog,   trash,       volumes,       workspace,  mainInterface.interface()};
  QTimer repeats;
  bool isFirst = true;
};

LinuxPlatform::Parts::Parts(int& argc, char** argv) : application(argc, argv) {
  setGuardReport(report);
  application.setDockTile(dockTile);
  application.setExitHandler([this] { systemLog.logRepeats(true); });
  repeats.setTimerType(Qt::VeryCoarseTimer);
  QObject::connect(&repeats, &QTimer::timeout, [this] { systemLog.logRepeats(); });
  repeats.start(std::chrono::minutes(1));
  if (!singleInstance.problem().empty()) {
    log(singleInstance.problem());
  }
  isFirst = singleInstance.isFirst() && scripting.claimName();
  if (const auto problem = application.problemWithDisplay(); problem && isFirst) {
    reportDisplay(*problem);
  }
}

void LinuxPlatform::Parts::reportPreferences(const std::string& problem, const Wording& wording) {
  log(problem);
  const std::string text = Wording{"PREFERENCES_UNREADABLE", {wording.in(strings)}}.in(strings);
  postToMain([this, text] { notify(text); });
}

// When the agent logs to its log already.
void LinuxPlatform::Parts::reportDisplay(const DisplayProblem& problem) {
  postToMain([this, problem] {
    log(problem.text);
    notify(problem.wording.in(strings));
  });
}

void LinuxPlatform::Parts::notify(const std::string& text) {
  if (growl.isGrowlRunning()) {
    growl.notify({"Vantrel Quillo", "Error", text, 0, true});
  }
}

LinuxPlatform::LinuxPlatform(int& argc, char** argv)
    : parts_((keepMemorySmall(), std::make_unique<Parts>(argc, argv))) {}

LinuxPlatform::~LinuxPlatform() { parts_->growl.handOver(); }

bool LinuxPlatform::isFirstAgent() const { return parts_->isFirst; }
std::string LinuxPlatform::showFirstAgent() { return parts_->scripting.activateOther(); }
const Platform& LinuxPlatform::services() const { return parts_->platform; }
Clock& LinuxPlatform::clock() { return parts_->clock; }

int LinuxPlatform::run(std::function<void()> begin, std::function<void()> end) {
  parts_->application.setTerminationHandler(std::move(end));
  parts_->signals.observe([this] { parts_->application.terminate(); });
  parts_->application.performOnMainThread(std::move(begin));
  return parts_->application.run();
}

}  // namespace quillo
