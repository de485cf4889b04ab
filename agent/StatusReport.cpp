#include "agent/StatusReport.h"

#include <optional>

#include "agent/Preferences.h"
#include "agent/RecentTotals.h"
#include "agent/StatusBoard.h"
#include "agent/WatchList.h"
#include "menu/Throbber.h"
#include "posix/Version.h"

namespace quillo {
namespace {

std::int64_t secondsOf(const std::optional<std::chrono::system_clock::time_point>& time) {
  return time ? std::chrono::duration_cast<std::chrono::seconds>(time->time_since_epoch()).count()
              : 0;
}

}  // namespace

const char* nameOf(Watching::State state) {
  switch (state) {
    case Watching::State::starting:
      return "starting";
    case Watching::State::watching:
      return "watching";
    case Watching::State::asleep:
      return "asleep";
    case Watching::State::quitting:
      return "quitting";
    default:
      return "stopped";
  }
}

const char* nameOf(Attention attention) {
  switch (attention) {
    case Attention::noEngine:
      return "noEngine";
    case Attention::noPreferences:
      return "noPreferences";
    case Attention::engineFails:
      return "engineFails";
    case Attention::helperFails:
      return "helperFails";
    case Attention::noDefinitions:
      return "noDefinitions";
    case Attention::oldDefinitions:
      return "oldDefinitions";
    case Attention::missingFolders:
      return "missingFolders";
    case Attention::gaps:
      return "gaps";
    default:
      return "";
  }
}

AgentStatus StatusReport::status() const {
  const StatusFacts facts = parts_.mainMenu.status();
  const ActivityFacts activity = parts_.statusBoard.activity();
  AgentStatus status;
  status.program = projectVersion;
  status.state = nameOf(parts_.watching.state());
  status.words = parts_.mainMenu.stateInWords();
  status.attention = nameOf(attentionFor(facts));
  status.filesBeingScanned = facts.filesBeingScanned;
  status.scanningSince = secondsOf(activity.scanningSince);
  status.watchingSince = secondsOf(activity.watchingSince);
  status.watchedFolders = *parts_.watchList.getWatchedFolderList();
  status.missingFolders = activity.missingFolders;
  status.placesWithGaps = facts.placesWithGaps;
  status.definitionsBuilt = secondsOf(activity.definitions.built);
  status.definitionFolder = activity.definitions.folder;
  status.updating = facts.updating;
  status.engine = parts_.preferences.settings()->clamPATH.value_or("");
  status.verdicts = activity.verdicts;
  status.historyProblem = activity.historyProblem;
  const HistoryTotals totals = parts_.recentTotals.totals();
  status.foundRecently = totals.found;
  status.notScannedRecently = totals.notScanned;
  return status;
}

}  // namespace quillo
