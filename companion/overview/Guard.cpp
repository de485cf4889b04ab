#include "companion/overview/Guard.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "companion/Counting.h"
#include "posix/Version.h"

namespace quillo {
namespace {

using Sign = Guard::Sign;
using Remedy = Guard::Remedy;

Guard notGuarded(const char* reason, Remedy remedy) {
  return {Sign::notGuarded, remedy, {"GUARD_NOT_GUARDED"}, {reason}};
}

Guard ofState(const std::string& state) {
  if (state == "starting") {
    return {Sign::attention, Remedy::none, {"GUARD_STARTING"}, {"GUARD_STARTING_REASON"}};
  }
  if (state == "stopped") {
    return notGuarded("GUARD_STOPPED", Remedy::startWatching);
  }
  if (state == "asleep") {
    return notGuarded("GUARD_ASLEEP", Remedy::startWatching);
  }
  if (state == "quitting") {
    return notGuarded("GUARD_QUITTING", Remedy::none);
  }
  return {Sign::unknown, Remedy::none, {"GUARD_UNKNOWN"}, {"GUARD_STRANGE_STATE", {state}}};
}

// Whatever keeps files that are watched from being scanned, or malware from being found.
std::optional<Guard> ofObstacle(const AgentStatus& status) {
  if (status.attention == "engineFails") {
    return notGuarded("GUARD_ENGINE_FAILS", Remedy::startWatching);
  }
  if (status.attention == "helperFails") {
    return notGuarded("GUARD_HELPER_FAILS", Remedy::startWatching);
  }
  if (status.watchedFolders.empty()) {
    return status.missingFolders.empty()
               ? notGuarded("GUARD_NO_FOLDERS", Remedy::chooseFolders)
               : notGuarded("GUARD_ALL_FOLDERS_MISSING", Remedy::showFolders);
  }
  if (status.attention == "noDefinitions") {
    return notGuarded("GUARD_NO_DEFINITIONS", Remedy::updateDefinitions);
  }
  return std::nullopt;
}

Guard ofWatching(const AgentStatus& status, LocalizedStrings& strings,
                 std::chrono::system_clock::time_point now) {
  const Wording folders{"", {countedIn(strings, "GUARD_GUARDED", status.watchedFolders.size())}};
  Guard guard{Sign::guarded, Remedy::none, folders, {}};
  const auto warn = [&](Remedy remedy, Wording reason) {
    guard = {Sign::attention, remedy, folders, std::move(reason)};
  };
  if (status.attention == "oldDefinitions") {
    warn(Remedy::updateDefinitions,
         {"",
          {countedIn(strings, "GUARD_OLD_DEFINITIONS", daysSince(status.definitionsBuilt, now))}});
  } else if (status.attention == "missingFolders" && status.missingFolders.size() == 1) {
    warn(Remedy::showFolders, {"GUARD_MISSING_ONE", status.missingFolders});
  } else if (status.attention == "missingFolders") {
    warn(Remedy::showFolders,
         {"", {countedIn(strings, "GUARD_MISSING", status.missingFolders.size())}});
  } else if (status.attention == "gaps") {
    warn(Remedy::showFolders, {"GUARD_GAPS"});
  } else if (!status.attention.empty()) {
    warn(Remedy::none, {"GUARD_STRANGE_ATTENTION", {status.attention}});
  } else if (status.program != projectVersion) {
    warn(Remedy::restartAgent, {"GUARD_OTHER_PROGRAM", {status.program, projectVersion}});
  } else if (status.filesBeingScanned > 0) {
    guard.sign = Sign::scanning;
  }
  return guard;
}

Guard withoutStatus(AgentPresence presence) {
  const auto unknown = [](const char* reason) {
    return Guard{Sign::unknown, Remedy::none, {"GUARD_UNKNOWN"}, {reason}};
  };
  switch (presence) {
    case AgentPresence::absent:
      return notGuarded("GUARD_NO_AGENT", Remedy::startAgent);
    case AgentPresence::beginning:
      return {Sign::attention, Remedy::none, {"GUARD_STARTING"}, {"GUARD_BEGINNING"}};
    case AgentPresence::silent:
      return unknown("GUARD_SILENT");
    case AgentPresence::foreign:
      return unknown("GUARD_FOREIGN");
    default:
      return unknown("GUARD_ASKING");
  }
}

std::string_view withoutSlash(std::string_view folder) {
  return folder.size() > 1 && folder.ends_with('/') ? folder.substr(0, folder.size() - 1) : folder;
}

// A folder that vanished after watching began is still among the watched ones.
AgentStatus withoutMissingFolders(AgentStatus status) {
  std::erase_if(status.watchedFolders, [&status](const std::string& watched) {
    return std::any_of(status.missingFolders.begin(), status.missingFolders.end(),
                       [&watched](const std::string& missing) {
                         return withoutSlash(missing) == withoutSlash(watched);
                       });
  });
  return status;
}

}  // namespace

Guard judgeGuard(AgentPresence presence, const std::optional<AgentStatus>& status,
                 LocalizedStrings& strings, std::chrono::system_clock::time_point now) {
  if (!status) {
    return withoutStatus(presence);
  }
  if (status->version > AgentStatus::currentVersion) {
    return {Sign::unknown,
            Remedy::none,
            {"GUARD_UNKNOWN"},
            {"GUARD_NEWER_AGENT", {status->program, projectVersion}}};
  }
  if (status->attention == "noPreferences") {
    return notGuarded("GUARD_NO_PREFERENCES", Remedy::setUp);
  }
  if (status->attention == "noEngine") {
    return notGuarded("GUARD_NO_ENGINE", Remedy::setUpEngine);
  }
  if (status->state != "watching") {
    return ofState(status->state);
  }
  const AgentStatus there = withoutMissingFolders(*status);
  const std::optional<Guard> obstacle = ofObstacle(there);
  return obstacle ? *obstacle : ofWatching(there, strings, now);
}

std::string watchingStateOf(AgentPresence presence, const std::optional<AgentStatus>& status,
                            LocalizedStrings& strings) {
  if (presence == AgentPresence::absent) {
    return "none";
  }
  const Guard guard = judgeGuard(presence, status, strings, {});
  if (!status || guard.sign == Guard::Sign::unknown) {
    return "unknown";
  }
  if (status->state != "watching") {
    return status->state;
  }
  if (guard.sign != Guard::Sign::notGuarded) {
    return {};
  }
  return status->attention.empty() ? "missingFolders" : status->attention;
}

AgentStatus withVanishedFolders(AgentStatus status,
                                const std::function<bool(const std::string& path)>& isGone) {
  bool hasVanished = false;
  for (const std::string& watched : status.watchedFolders) {
    const auto isWatched = [&watched](const std::string& missing) {
      return withoutSlash(missing) == withoutSlash(watched);
    };
    if (isGone(watched) &&
        std::none_of(status.missingFolders.begin(), status.missingFolders.end(), isWatched)) {
      status.missingFolders.emplace_back(withoutSlash(watched));
      hasVanished = true;
    }
  }
  if (hasVanished && (status.attention.empty() || status.attention == "gaps")) {
    status.attention = "missingFolders";
  }
  return status;
}

}  // namespace quillo
