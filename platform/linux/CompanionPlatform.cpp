#include "platform/linux/CompanionPlatform.h"

#include <syslog.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QTimer>
#include <QWidget>
#include <cstdio>
#include <utility>

#include "platform/linux/names/LinuxVolumes.h"
#include "platform/linux/pages/QtMainWindow.h"
#include "platform/linux/pages/WindowActivation.h"
#include "platform/linux/planned/SystemdTimers.h"
#include "platform/linux/preferences/TomlPreferenceStore.h"
#include "platform/linux/services/DesktopWorkspace.h"
#include "platform/linux/services/Environment.h"
#include "platform/linux/services/Guarded.h"
#include "platform/linux/services/LinuxFolders.h"
#include "platform/linux/services/LinuxSystemLog.h"
#include "platform/linux/services/QtApplication.h"
#include "platform/linux/session/SessionBusNotificationCenter.h"
#include "platform/linux/text/StringTables.h"
#include "platform/linux/tray/QtImage.h"
#include "posix/Accounts.h"

namespace quillo {
namespace {

constexpr const char* agentDomain = "org.vantrel.VantrelQuillo";
constexpr const char* ownDomain = "org.vantrel.Vantrel";

void writeToSyslog(const std::string& line) { syslog(LOG_NOTICE, "%s", line.c_str()); }
void writeToConsole(const std::string& line) { std::fputs(line.c_str(), stderr); }

}  // namespace

// In the order in which they need each other; destroyed in reverse.
struct CompanionPlatform::Parts {
  Parts(int& argc, char** argv);
  ~Parts() { setGuardReport(nullptr); }

  std::string handle(const CompanionRequest& request);

  TerminationSignals signals;
  Environment environment = Environment::ofThisProcess();
  SystemClock clock;
  LinuxSystemLog systemLog{clock, writeToSyslog, writeToConsole};
  LibraryMessages libraryMessages{systemLog};
  QtApplication application;
  std::function<void(const std::string&)> report = [this](const std::string& text) {
    systemLog.log(text);
  };
  QDBusConnection sessionBus = QDBusConnection::sessionBus();
  LinuxFolders folders{environment, LinuxFolders::pathOfThisProgram()};
  const std::string resources = folders.resourceFolder();
  StringTables strings{StringTables::foldersOfCompanion(resources + "/strings"),
                       StringTables::preferredLanguages(environment), report};
  QtTranslation qtTranslation{strings.language()};
  InterfaceTranslator translator{strings};
  TomlPreferenceStore preferences{
      TomlPreferenceStore::folders(environment, folders.homeFolder()), agentDomain,
      [this](const std::string& problem, const Wording&) { systemLog.log(problem); }};
  SessionBusNotificationCenter notificationCenter{sessionBus};
  DesktopApplicationLauncher launcher{sessionBus, report};
  DesktopWorkspace workspace{sessionBus};
  LinuxVolumes volumes{accountNumbered(getuid()).name};
  SystemdTimers plannedScans{
      sessionBus, LinuxFolders::pathOfThisProgram(),
      environment.folder("XDG_CONFIG_HOME").value_or(folders.homeFolder() + "/.config") +
          "/systemd/user"};
  QtImageLoader images{resources + "/images"};
  QtMainWindow window{resources + "/interface/vantrel",
                      folders.stateFolder() + "/window",
                      {images, strings, systemLog}};
  CompanionRequested requested;
  CompanionObject object{sessionBus,
                         [this](const CompanionRequest& request) { return handle(request); }};
  CompanionDesktop desktop{application, launcher, clock,    notificationCenter, folders,
                           images,      strings,  window,   plannedScans,       preferences,
                           systemLog,   volumes,  workspace};
  bool isFirst = true;
};

CompanionPlatform::Parts::Parts(int& argc, char** argv)
    : application(argc, argv, {ownDomain, "Vantrel", false}) {
  openlog("vantrel", LOG_PID, LOG_USER);
  setGuardReport(report);
  preferences.addSuiteNamed(ownDomain);
  // Before it has its name: the agent asks as soon as that is taken.
  notificationCenter.addObserver("VantrelShouldOpenPrefs", [this] {
    const std::string problem = handle({"settings"});
    if (!problem.empty()) {
      systemLog.log(problem);
    }
  });
  isFirst = !sessionBus.isConnected() || object.claimName();
}

std::string CompanionPlatform::Parts::handle(const CompanionRequest& request) {
  if (!requested) {
    return "it is about to end";
  }
  expectActivation(request.activationToken);
  const std::string problem = requested(request);
  if (problem.empty()) {
    activateAsAsked(window.widget(), request.startupId);
  }
  return problem;
}

CompanionPlatform::CompanionPlatform(int& argc, char** argv)
    : parts_(std::make_unique<Parts>(argc, argv)) {}

CompanionPlatform::~CompanionPlatform() = default;

const CompanionDesktop& CompanionPlatform::services() const { return parts_->desktop; }

std::optional<Wording> CompanionPlatform::problem() const {
  if (!parts_->sessionBus.isConnected()) {
    return Wording{"WINDOW_NO_BUS", {}};
  }
  const auto display = parts_->application.problemWithDisplay();
  return display && parts_->isFirst
             ? std::optional<Wording>({"WINDOW_" + display->wording.key, display->wording.values})
             : std::nullopt;
}

bool CompanionPlatform::isFirst() const { return parts_->isFirst; }

std::string CompanionPlatform::askFirst(CompanionRequest request) {
  request.activationToken = parts_->environment.value("XDG_ACTIVATION_TOKEN").value_or("");
  request.startupId = parts_->environment.value("DESKTOP_STARTUP_ID").value_or("");
  return parts_->object.askOther(request);
}

int CompanionPlatform::run(std::function<void()> begin, CompanionRequested requested) {
  parts_->requested = std::move(requested);
  parts_->signals.observe([this] { parts_->application.terminate(); });
  const auto quit = [] { QCoreApplication::quit(); };
  parts_->application.setTerminationHandler(quit);
  parts_->window.onClosed(quit);
  parts_->application.performOnMainThread(std::move(begin));
  const int status = parts_->application.run();
  parts_->requested = nullptr;
  return status;
}

void CompanionPlatform::endUnlessShownWithin(int seconds) {
  QTimer::singleShot(std::chrono::seconds(seconds), &parts_->object, [this] {
    if (!parts_->window.widget().isVisible()) {
      parts_->application.terminate();
    }
  });
}

}  // namespace quillo
