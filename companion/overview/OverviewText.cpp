#include "companion/overview/OverviewText.h"

#include <algorithm>

#include "companion/Counting.h"
#include "platform/LocalizedStrings.h"

namespace quillo {
namespace {

constexpr std::uint64_t bytesInMebibyte = std::uint64_t{1024} * 1024;

const char* keyOf(UpdateResult result) {
  switch (result) {
    case UpdateResult::updated:
      return "OVERVIEW_UPDATE_DONE";
    case UpdateResult::upToDate:
      return "OVERVIEW_UPDATE_NEEDLESS";
    case UpdateResult::offline:
      return "OVERVIEW_UPDATE_OFFLINE";
    case UpdateResult::coolDown:
      return "OVERVIEW_UPDATE_COOL_DOWN";
    case UpdateResult::refused:
      return "OVERVIEW_UPDATE_REFUSED";
    case UpdateResult::locked:
      return "OVERVIEW_UPDATE_LOCKED";
    case UpdateResult::machineOnly:
      return "OVERVIEW_UPDATE_MACHINE_ONLY";
    case UpdateResult::notWritable:
      return "OVERVIEW_UPDATE_NOT_WRITABLE";
    case UpdateResult::noEngine:
      return "OVERVIEW_UPDATE_NO_ENGINE";
    default:
      return "OVERVIEW_UPDATE_FAILED";
  }
}

}  // namespace

std::string OverviewText::text(const std::string& key) const {
  return strings_.stringForKey(key, "");
}

std::string OverviewText::since(std::int64_t seconds) const { return momentText(seconds, now_); }

std::string OverviewText::watching(const std::optional<AgentStatus>& status) const {
  if (!status || status->state != "watching" || status->watchingSince == 0) {
    return "";
  }
  return Wording{"OVERVIEW_WATCHING_SINCE", {since(status->watchingSince)}}.in(strings_);
}

std::string OverviewText::scanning(const std::optional<AgentStatus>& status) const {
  if (!status || status->filesBeingScanned == 0) {
    return text("OVERVIEW_SCANNING_NONE");
  }
  return countedIn(strings_, "OVERVIEW_SCANNING", status->filesBeingScanned,
                   {since(status->scanningSince)});
}

std::string OverviewText::definitions(const DefinitionPlace& place) const {
  if (place.built == 0) {
    return text(place.folder.empty() ? "OVERVIEW_DEFINITIONS_UNKNOWN"
                                     : "OVERVIEW_DEFINITIONS_NONE");
  }
  const std::uint64_t days = daysSince(place.built, now_);
  const std::string age =
      days == 0 ? Wording{"OVERVIEW_DEFINITIONS_TODAY", {since(place.built)}}.in(strings_)
                : countedIn(strings_, "OVERVIEW_DEFINITIONS_DAYS", days, {since(place.built)});
  return age + " " +
         text(place.keeper == DefinitionPlace::Keeper::machine ? "OVERVIEW_DEFINITIONS_MACHINE"
                                                               : "OVERVIEW_DEFINITIONS_OWN");
}

std::string OverviewText::found(const RecentCounts::Counts& counts) const {
  if (!counts.problem.empty()) {
    return Wording{"OVERVIEW_HISTORY_UNREADABLE", {counts.problem}}.in(strings_);
  }
  if (counts.found > 0) {
    return countedIn(strings_, "OVERVIEW_FOUND", counts.found);
  }
  if (!counts.begins) {
    return text("OVERVIEW_NO_HISTORY");
  }
  return *counts.begins > now_ - recently
             ? Wording{"OVERVIEW_FOUND_NONE_SINCE", {dayText(*counts.begins)}}.in(strings_)
             : text("OVERVIEW_FOUND_NONE");
}

std::string OverviewText::notScanned(const RecentCounts::Counts& counts) const {
  if (!counts.problem.empty() || !counts.begins) {
    return "";
  }
  return counts.notScanned == 0 ? text("OVERVIEW_NOT_SCANNED_NONE")
                                : countedIn(strings_, "OVERVIEW_NOT_SCANNED", counts.notScanned);
}

std::string OverviewText::history(const std::optional<AgentStatus>& status) const {
  return !status || status->historyProblem.empty()
             ? ""
             : Wording{"OVERVIEW_HISTORY_NOT_KEPT", {status->historyProblem}}.in(strings_);
}

std::string OverviewText::update(const DefinitionUpdate::State& state) const {
  if (state.runs && state.progress) {
    const auto mebibytes = [&](std::uint64_t bytes) {
      return numberIn(strings_, (bytes + bytesInMebibyte - 1) / bytesInMebibyte);
    };
    return Wording{"OVERVIEW_UPDATE_LOADING",
                   {mebibytes(state.progress->done), mebibytes(state.progress->all)}}
        .in(strings_);
  }
  if (state.runs) {
    return text("OVERVIEW_UPDATE_RUNS");
  }
  return state.result ? text(keyOf(*state.result)) : "";
}

DefinitionPlace definitionsInUse(const std::optional<AgentStatus>& status,
                                 const std::string& engine) {
  if (!status || status->definitionFolder.empty()) {
    DefinitionPlace place = definitionPlaceOf(engine);
    place.built = std::max(place.built, status ? status->definitionsBuilt : 0);
    return place;
  }
  // What the daemon has may be older than what an update has just brought, or lie where only the
  // daemon can read it.
  DefinitionPlace place = definitionPlaceAt(status->definitionFolder);
  place.built = std::max(place.built, status->definitionsBuilt);
  return place;
}

}  // namespace quillo
