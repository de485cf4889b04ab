#include "platform/linux/companion/CompanionBackend.h"

#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

#include "platform/Application.h"
#include "platform/linux/services/Guarded.h"
#include "posix/Accounts.h"

namespace quillo {
namespace {

// Whose preferences come first: what holds for the agent is what is shown here.
constexpr const char* agentDomain = "org.vantrel.VantrelQuillo";

void writeToSyslog(const std::string& line) { syslog(LOG_NOTICE, "%s", line.c_str()); }
void writeToConsole(const std::string& line) { std::fputs(line.c_str(), stderr); }
void writeNowhere(const std::string&) {}

std::string unitFolder(const Environment& environment, const Folders& folders) {
  return environment.folder("XDG_CONFIG_HOME").value_or(folders.homeFolder() + "/.config") +
         "/systemd/user";
}

}  // namespace

CompanionLog::CompanionLog(bool toConsole)
    : systemLog(clock, writeToSyslog, toConsole ? writeToConsole : writeNowhere) {
  openlog("vantrel", LOG_PID, LOG_USER);
}

CompanionBackend::CompanionBackend(CompanionLog& log, Application& application)
    : systemLog(log.systemLog),
      report([this](const std::string& text) { systemLog.log(text); }),
      strings(StringTables::foldersOfCompanion(resources + "/strings"),
              StringTables::preferredLanguages(environment), report),
      preferences(TomlPreferenceStore::folders(environment, folders.homeFolder()), agentDomain,
                  [this](const std::string& problem, const Wording&) { systemLog.log(problem); }),
      growl(
          sessionBus,
          [&application](std::function<void()> action) {
            application.performOnMainThread(std::move(action));
          },
          log.clock, strings, resources + "/images/128/application.png", report),
      trash(environment, folders.homeFolder(), getuid()),
      volumes(accountNumbered(getuid()).name),
      plannedScans(sessionBus, LinuxFolders::pathOfThisProgram(), unitFolder(environment, folders)),
      desktop{agentLink, application, launcher,      log.clock,    desktopCheck, notificationCenter,
              folders,   growl,       strings,       modifierKeys, plannedScans, preferences,
              systemLog, trash,       volumeChanges, volumes,      workspace} {
  setGuardReport(report);
  preferences.addSuiteNamed(identifier);
}

CompanionBackend::~CompanionBackend() { setGuardReport(nullptr); }

}  // namespace quillo
