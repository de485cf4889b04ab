#include "companion/doctor/DoctorCommand.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "clamav/Verdict.h"
#include "companion/CommandWords.h"
#include "companion/Counting.h"

namespace quillo {
namespace {

using Sign = Finding::Sign;
using json = nlohmann::ordered_json;

constexpr int noProblem = 0;
constexpr int problems = 1;
constexpr int cannotTell = 2;
constexpr int jsonVersion = 1;

// A sign that needs no colour.
const char* markOf(Sign sign) {
  switch (sign) {
    case Sign::good:
      return "[ok]";
    case Sign::warning:
      return "[!] ";
    case Sign::problem:
      return "[X] ";
    default:
      return "[?] ";
  }
}

int rankOf(Sign sign) {
  switch (sign) {
    case Sign::problem:
      return 3;
    case Sign::unknown:
      return 2;
    case Sign::warning:
      return 1;
    default:
      return 0;
  }
}

void printDocument(std::ostream& out, const std::vector<Finding>& findings,
                   LocalizedStrings& strings) {
  json list = json::array();
  for (const Finding& finding : findings) {
    list.push_back({{"check", finding.check},
                    {"subject", reportedText(finding.subject)},
                    {"sign", nameOf(finding.sign)},
                    {"sentence", reportedText(finding.sentence.in(strings))},
                    {"remedy", reportedText(finding.remedy.in(strings))}});
  }
  const json document = {{"version", jsonVersion},
                         {"command", "doctor"},
                         {"sign", nameOf(worstOf(findings))},
                         {"findings", list}};
  out << document.dump(2) << "\n";
}

void printLines(std::ostream& out, const std::vector<Finding>& findings,
                LocalizedStrings& strings) {
  for (const Finding& finding : findings) {
    out << markOf(finding.sign) << " " << reportedText(finding.sentence.in(strings)) << "\n";
    if (!finding.remedy.empty()) {
      out << "     → " << reportedText(finding.remedy.in(strings)) << "\n";
    }
  }
  const auto count = [&](Sign sign) {
    return static_cast<std::uint64_t>(
        std::count_if(findings.begin(), findings.end(),
                      [sign](const Finding& finding) { return finding.sign == sign; }));
  };
  out << "\n";
  if (count(Sign::problem) > 0) {
    out << countedIn(strings, "DOCTOR_PROBLEMS", count(Sign::problem)) << "\n";
  } else if (count(Sign::unknown) > 0) {
    out << countedIn(strings, "DOCTOR_UNKNOWN", count(Sign::unknown)) << "\n";
  } else if (count(Sign::warning) > 0) {
    out << countedIn(strings, "DOCTOR_WARNINGS", count(Sign::warning)) << "\n";
  } else {
    out << strings.stringForKey("DOCTOR_ALL_GOOD", "") << "\n";
  }
}

}  // namespace

const char* nameOf(Sign sign) {
  switch (sign) {
    case Sign::good:
      return "good";
    case Sign::warning:
      return "warning";
    case Sign::problem:
      return "problem";
    default:
      return "unknown";
  }
}

Sign worstOf(const std::vector<Finding>& findings) {
  Sign worst = Sign::good;
  for (const Finding& finding : findings) {
    worst = rankOf(finding.sign) > rankOf(worst) ? finding.sign : worst;
  }
  return worst;
}

int runDoctorCommand(const std::vector<std::string>& words, std::ostream& out, std::ostream& errors,
                     const DoctorCommandServices& services) {
  const std::optional<CommandWords> asked = commandWordsOf(words);
  if (!asked || !asked->operands.empty()) {
    return showUsage(errors, "doctor [--json]");
  }
  DoctorFacts facts;
  facts.agentProblem = services.agent.refresh();
  facts.agent = services.agent.status();
  facts.desktop = services.desktop.look();
  const std::vector<Finding> findings = examine(services.doctor, facts);
  LocalizedStrings& strings = services.doctor.strings;
  asked->asJson ? printDocument(out, findings, strings) : printLines(out, findings, strings);
  switch (worstOf(findings)) {
    case Sign::problem:
      return problems;
    case Sign::unknown:
      return cannotTell;
    default:
      return noProblem;
  }
}

}  // namespace quillo
