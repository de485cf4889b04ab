#include "companion/doctor/HelpFindings.h"

#include <algorithm>
#include <cctype>

namespace quillo {
namespace {

HelpFinding::State stateOf(Finding::Sign sign) {
  switch (sign) {
    case Finding::Sign::good:
      return HelpFinding::State::good;
    case Finding::Sign::warning:
      return HelpFinding::State::warning;
    case Finding::Sign::problem:
      return HelpFinding::State::problem;
    default:
      return HelpFinding::State::unknown;
  }
}

std::string keyOf(const std::string& check) {
  std::string key = "HELP_CHECK_" + check;
  std::transform(key.begin(), key.end(), key.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return key;
}

}  // namespace

std::vector<HelpFinding> helpFindingsOf(const std::vector<Finding>& findings,
                                        LocalizedStrings& strings) {
  std::vector<HelpFinding> shown;
  for (const Finding& finding : findings) {
    shown.push_back({stateOf(finding.sign),
                     strings.stringForKey(keyOf(finding.check), finding.check),
                     finding.sentence.in(strings), finding.remedy.in(strings)});
  }
  return shown;
}

}  // namespace quillo
