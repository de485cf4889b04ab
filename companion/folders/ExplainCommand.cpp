#include "companion/folders/ExplainCommand.h"

#include <nlohmann/json.hpp>

#include "clamav/Verdict.h"
#include "companion/CommandWords.h"
#include "platform/LocalizedStrings.h"
#include "posix/RealPath.h"

namespace quillo {
namespace {

using Rule = Explanation::Rule;

constexpr int statusGuarded = 0;
constexpr int statusNotGuarded = 1;
constexpr int statusUnknown = 2;
constexpr int jsonVersion = 1;

const char* nameOf(Rule rule) {
  switch (rule) {
    case Rule::guarded:
      return "guarded";
    case Rule::inQuarantine:
      return "quarantine";
    case Rule::inTrash:
      return "trash";
    case Rule::inSubfolder:
      return "noSubfolders";
    case Rule::notReported:
      return "notReported";
    case Rule::notListable:
      return "notListable";
    case Rule::excluded:
      return "excluded";
    default:
      return "outside";
  }
}

void writeJson(std::ostream& out, const Explanation& explanation, const std::string& agentState) {
  nlohmann::ordered_json json;
  json["version"] = jsonVersion;
  json["command"] = "explain";
  json["path"] = reportedText(explanation.path);
  json["realPath"] = reportedText(explanation.realPath);
  json["exists"] = explanation.exists;
  json["isFolder"] = explanation.isFolder;
  json["guarded"] = explanation.isGuarded() && agentState.empty();
  json["rule"] = nameOf(explanation.rule);
  json["folder"] = nullptr;
  if (!explanation.folder.empty()) {
    json["folder"] = reportedText(explanation.folder);
  }
  json["agent"] = agentState.empty() ? "watching" : agentState;
  json["exclusion"] = nullptr;
  if (explanation.rule == Rule::excluded) {
    json["exclusion"] = {{"number", explanation.patternIndex + 1},
                         {"pattern", reportedText(explanation.pattern.text)},
                         {"isExpression", explanation.pattern.isRegEx}};
  }
  out << json.dump(2) << '\n';
}

void writeWords(std::ostream& out, const Explanation& explanation, const std::string& agentState,
                LocalizedStrings& strings) {
  Wording words = wordingOf(explanation);
  for (std::string& value : words.values) {
    value = reportedText(value);
  }
  out << reportedText(explanation.path) << ": " << words.in(strings) << '\n';
  if (!explanation.exists) {
    out << strings.stringForKey("FOLDERS_RULE_NOT_THERE", "") << '\n';
  } else if (!RealPath(explanation.path).links().empty()) {
    out << Wording{"FOLDERS_RULE_LINK", {reportedText(explanation.realPath)}}.in(strings) << '\n';
  }
  if (explanation.isGuarded() && agentState == "unknown") {
    out << strings.stringForKey("FOLDERS_RULE_AGENT_UNKNOWN", "") << '\n';
  } else if (explanation.isGuarded() && !agentState.empty()) {
    out << strings.stringForKey("FOLDERS_RULE_NO_AGENT", "") << '\n';
  }
}

}  // namespace

int runExplainCommand(const std::vector<std::string>& words, std::ostream& out,
                      std::ostream& errors, const ExplainCommandServices& services) {
  const std::optional<CommandWords> asked = commandWordsOf(words);
  if (!asked || asked->operands.size() != 1) {
    return showUsage(errors, "explain PATH [--json]");
  }
  const std::string path = absolutePath(asked->operands[0], services.folder);
  if (!path.starts_with('/')) {
    errors << "vantrel explain: " << reportedText(path)
           << ": the folder that it lies in is unknown; give the whole path\n";
    return statusUnknown;
  }
  const Explanation explanation = explain(path, services.explanation);
  const std::string agentState = services.agentState();
  const bool cannotTell = explanation.isGuarded() && agentState == "unknown";
  if (asked->asJson) {
    writeJson(out, explanation, agentState);
  } else {
    writeWords(out, explanation, agentState, services.localizedStrings);
  }
  if (cannotTell) {
    return statusUnknown;
  }
  return explanation.isGuarded() && agentState.empty() ? statusGuarded : statusNotGuarded;
}

}  // namespace quillo
