#include "companion/overview/StatusCommand.h"

#include <nlohmann/json.hpp>
#include <ostream>

#include "clamav/Verdict.h"
#include "companion/CommandWords.h"
#include "companion/overview/Guard.h"
#include "companion/overview/OverviewText.h"
#include "platform/LocalizedStrings.h"
#include "posix/Clock.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

using json = nlohmann::ordered_json;

constexpr int isGuarded = 0;
constexpr int isNotGuarded = 1;
constexpr int cannotTell = 2;
constexpr int jsonVersion = 1;

struct Answer {
  Guard guard;
  std::optional<AgentStatus> status;
  DefinitionPlace definitions;
  RecentCounts::Counts counts;
};

const char* nameOf(Guard::Sign sign) {
  switch (sign) {
    case Guard::Sign::guarded:
      return "guarded";
    case Guard::Sign::scanning:
      return "scanning";
    case Guard::Sign::attention:
      return "attention";
    case Guard::Sign::notGuarded:
      return "notGuarded";
    default:
      return "unknown";
  }
}

const char* nameOf(DefinitionPlace::Keeper keeper) {
  switch (keeper) {
    case DefinitionPlace::Keeper::user:
      return "user";
    case DefinitionPlace::Keeper::machine:
      return "machine";
    default:
      return "unknown";
  }
}

int exitStatusOf(Guard::Sign sign) {
  switch (sign) {
    case Guard::Sign::guarded:
    case Guard::Sign::scanning:
      return isGuarded;
    case Guard::Sign::unknown:
      return cannotTell;
    default:
      return isNotGuarded;
  }
}

json secondsOrNull(const std::optional<std::chrono::system_clock::time_point>& moment) {
  return moment ? json(std::chrono::system_clock::to_time_t(*moment)) : json();
}

json pathsOf(const std::vector<std::string>& paths) {
  json list = json::array();
  for (const std::string& path : paths) {
    list.push_back(reportedText(path));
  }
  return list;
}

json documentOf(const AgentStatus& status) {
  return {{"version", status.version},
          {"program", reportedText(status.program)},
          {"state", reportedText(status.state)},
          {"words", reportedText(status.words)},
          {"attention", reportedText(status.attention)},
          {"filesBeingScanned", status.filesBeingScanned},
          {"scanningSince", status.scanningSince},
          {"watchingSince", status.watchingSince},
          {"watchedFolders", pathsOf(status.watchedFolders)},
          {"missingFolders", pathsOf(status.missingFolders)},
          {"placesWithGaps", status.placesWithGaps},
          {"definitionsBuilt", status.definitionsBuilt},
          {"definitionFolder", reportedText(status.definitionFolder)},
          {"updating", status.updating},
          {"engine", reportedText(status.engine)},
          {"verdicts", status.verdicts},
          {"historyProblem", reportedText(status.historyProblem)},
          {"foundRecently", status.foundRecently},
          {"notScannedRecently", status.notScannedRecently}};
}

void printDocument(std::ostream& out, const Answer& answer, LocalizedStrings& strings) {
  json document = {
      {"version", jsonVersion},
      {"command", "status"},
      {"sign", nameOf(answer.guard.sign)},
      {"sentence", reportedText(answer.guard.sentence.in(strings))},
      {"reason", reportedText(answer.guard.reason.in(strings))},
      {"agent", nullptr},
      {"definitions",
       {{"built", answer.definitions.built},
        {"keeper", nameOf(answer.definitions.keeper)},
        {"folder", reportedText(answer.definitions.folder)}}},
      {"recent",
       {{"days", recently.count() / 24},
        {"found", answer.counts.found},
        {"notScanned", answer.counts.notScanned},
        {"begins", secondsOrNull(answer.counts.begins)},
        {"problem", reportedText(answer.counts.problem)}}},
  };
  if (answer.status) {
    document["agent"] = documentOf(*answer.status);
  }
  out << document.dump(2) << "\n";
}

void printLines(std::ostream& out, const Answer& answer, LocalizedStrings& strings,
                std::chrono::system_clock::time_point now) {
  const auto line = [&out](const std::string& text) {
    if (!text.empty()) {
      out << reportedText(text) << "\n";
    }
  };
  const OverviewText facts(strings, now);
  line(Wording{"COMMAND_SENTENCE", {answer.guard.sentence.in(strings)}}.in(strings));
  line(answer.guard.reason.in(strings));
  line(facts.watching(answer.status));
  line(facts.scanning(answer.status));
  line(Wording{"COMMAND_DEFINITIONS", {facts.definitions(answer.definitions)}}.in(strings));
  line(facts.found(answer.counts));
  line(facts.notScanned(answer.counts));
  line(facts.history(answer.status));
}

Answer ask(const StatusCommandServices& services) {
  const auto now = services.clock.wallTime();
  const Wording problem = services.agent.refresh();
  Answer answer;
  answer.status = services.agent.status();
  if (answer.status) {
    answer.status = withVanishedFolders(*answer.status, services.isGone);
  }
  const AgentPresence presence = services.agent.presence();
  const bool isTold = problem.empty() || presence == AgentPresence::beginning;
  answer.guard = isTold ? judgeGuard(presence, answer.status, services.strings, now)
                        : Guard{Guard::Sign::unknown,
                                Guard::Remedy::none,
                                {"GUARD_UNKNOWN"},
                                {"COMMAND_NO_ANSWER", {problem.in(services.strings)}}};
  answer.definitions =
      definitionsInUse(answer.status, services.preferences.value(key::pathToClamav).value_or(""));
  answer.counts = services.counts.countsSince(now - recently);
  return answer;
}

}  // namespace

int runStatusCommand(const std::vector<std::string>& words, std::ostream& out, std::ostream& errors,
                     const StatusCommandServices& services) {
  const std::optional<CommandWords> asked = commandWordsOf(words);
  if (!asked || !asked->operands.empty()) {
    return showUsage(errors, "status [--json]");
  }
  const Answer answer = ask(services);
  if (asked->asJson) {
    printDocument(out, answer, services.strings);
  } else {
    printLines(out, answer, services.strings, services.clock.wallTime());
  }
  return exitStatusOf(answer.guard.sign);
}

}  // namespace quillo
