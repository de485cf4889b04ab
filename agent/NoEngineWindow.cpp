#include "agent/NoEngineWindow.h"

#include "agent/PreferenceFile.h"
#include "agent/Preferences.h"
#include "platform/Application.h"
#include "platform/LocalizedStrings.h"
#include "platform/MainInterface.h"
#include "platform/Workspace.h"
#include "posix/Text.h"
#include "settings/PreferenceTable.h"

namespace quillo {
namespace {

const char* keyOf(EngineProblem::Kind kind) {
  switch (kind) {
    case EngineProblem::Kind::noPreferences:
      return "ENGINE_NO_PREFERENCES";
    case EngineProblem::Kind::notChosen:
      return "ENGINE_NOT_CHOSEN";
    case EngineProblem::Kind::noUpdateLog:
      return "ENGINE_NO_UPDATE_LOG";
    case EngineProblem::Kind::daemonMissing:
      return "ENGINE_DAEMON_MISSING";
    case EngineProblem::Kind::daemonFailed:
      return "ENGINE_DAEMON_FAILED";
    case EngineProblem::Kind::scannerMissing:
      return "ENGINE_SCANNER_MISSING";
    case EngineProblem::Kind::scannerFailed:
      return "ENGINE_SCANNER_FAILED";
    case EngineProblem::Kind::updaterMissing:
      return "ENGINE_UPDATER_MISSING";
    case EngineProblem::Kind::updaterNotKnown:
      return "ENGINE_UPDATER_UNKNOWN";
  }
  return "";
}

// Nothing where what is said to whoever has the main application does for everybody.
const char* adviceAloneFor(EngineProblem::Kind kind) {
  switch (kind) {
    case EngineProblem::Kind::noPreferences:
      return "ADVICE_NO_PREFERENCES";
    case EngineProblem::Kind::notChosen:
      return "ADVICE_NOT_CHOSEN";
    case EngineProblem::Kind::noUpdateLog:
      return "ADVICE_NO_UPDATE_LOG";
    case EngineProblem::Kind::daemonMissing:
    case EngineProblem::Kind::scannerMissing:
    case EngineProblem::Kind::scannerFailed:
      return "ADVICE_INSTALL";
    case EngineProblem::Kind::updaterNotKnown:
      return "ADVICE_UPDATER_UNKNOWN";
    case EngineProblem::Kind::daemonFailed:
    case EngineProblem::Kind::updaterMissing:
      return nullptr;
  }
  return nullptr;
}

// A line break in a path would begin what to do next.
std::string inOneLine(const std::string& path) { return replacingAll(path, "\n", "\\n"); }

}  // namespace

std::string textOf(const EngineProblem& problem, LocalizedStrings& strings) {
  return replacingAll(strings.stringForKey(keyOf(problem.kind), ""), "%@", inOneLine(problem.path));
}

std::string textAloneOf(const EngineProblem& problem, const std::string& engineCommand,
                        LocalizedStrings& strings) {
  std::string text = textOf(problem, strings);
  const char* advice = adviceAloneFor(problem.kind);
  if (!advice) {
    return text;
  }
  return text.substr(0, text.rfind('\n') + 1) +
         replacingAll(strings.stringForKey(advice, ""), "%@", inOneLine(engineCommand));
}

void NoEngineWindow::show(const EngineProblem& problem) {
  problem_.store(problem);
  services_.application.performOnMainThread([this, problem] { showNow(problem); });
}

// Whether there is a main application is found out on the main thread, which the workers that
// report a missing program do not wait for.
void NoEngineWindow::showNow(const EngineProblem& problem) {
  MainInterface& interface = services_.mainInterface;
  LocalizedStrings& strings = services_.localizedStrings;
  if (services_.applicationLauncher.isInstalled(mainApplicationIdentifier)) {
    interface.noEngineWindow.setMessage(textOf(problem, strings));
    displayDialog(interface.noEngineWindow);
    return;
  }
  const std::string command = preferenceFile_.engineCommand(preferences_.settings()->clamPATH);
  interface.noEngineAloneWindow.setMessage(textAloneOf(problem, command, strings));
  displayDialog(interface.noEngineAloneWindow);
}

void NoEngineWindow::takeAway() {
  services_.mainInterface.noEngineWindow.orderOut();
  services_.mainInterface.noEngineAloneWindow.orderOut();
}

}  // namespace quillo
