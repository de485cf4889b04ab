#include "agent/EngineProblemText.h"

#include "platform/LocalizedStrings.h"
#include "posix/Text.h"

namespace quillo {
namespace {

const char* keyOf(EngineProblem::Kind kind) {
  switch (kind) {
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

}  // namespace

std::string textOf(const EngineProblem& problem, LocalizedStrings& strings) {
  // A line break in the path would begin what to do next.
  return replacingAll(strings.stringForKey(keyOf(problem.kind), ""), "%@",
                      replacingAll(problem.path, "\n", "\\n"));
}

}  // namespace quillo
