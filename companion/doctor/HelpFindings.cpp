#include "companion/doctor/HelpFindings.h"

#include <algorithm>
#include <cctype>
#include <iterator>

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

// What is filled into these is a command.
constexpr const char* withCommand[] = {"DOCTOR_APPARMOR_REMEDY", "DOCTOR_DAEMON_DISTRUSTED_REMEDY",
                                       "DOCTOR_ENGINE_NOT_CHOSEN_REMEDY", "DOCTOR_ENGINE_REMEDY",
                                       "DOCTOR_HELPER_RIGHTS_REMEDY"};

// The page on which what these say is done.
struct RemedyPage {
  const char* remedy;
  const char* page;
};
constexpr RemedyPage remedyPages[] = {
    {"DOCTOR_AGENT_IDLE_REMEDY", "overview"},        {"DOCTOR_AGENT_NONE_REMEDY", "overview"},
    {"DOCTOR_DAEMON_ABSENT_REMEDY", "overview"},     {"DOCTOR_DEFINITIONS_REMEDY", "overview"},
    {"DOCTOR_ENGINE_NOT_CHOSEN_REMEDY", "settings"}, {"DOCTOR_FOLDER_MISSING_REMEDY", "folders"},
    {"DOCTOR_FOLDER_NAMES_REMEDY", "scan"},          {"DOCTOR_FOLDER_NETWORK_REMEDY", "scan"},
    {"DOCTOR_FOLDER_NONE_REMEDY", "folders"},        {"DOCTOR_FOLDER_OTHER_REMEDY", "folders"}};

std::string commandIn(const Wording& remedy) {
  const auto* found = std::find(std::begin(withCommand), std::end(withCommand), remedy.key);
  return found == std::end(withCommand) || remedy.values.empty() ? "" : remedy.values.front();
}

std::string pageOf(const Wording& remedy) {
  const auto* found =
      std::find_if(std::begin(remedyPages), std::end(remedyPages),
                   [&remedy](const RemedyPage& each) { return each.remedy == remedy.key; });
  return found == std::end(remedyPages) ? "" : found->page;
}

}  // namespace

std::vector<HelpFinding> helpFindingsOf(const std::vector<Finding>& findings,
                                        LocalizedStrings& strings) {
  std::vector<HelpFinding> shown;
  for (const Finding& finding : findings) {
    shown.push_back({stateOf(finding.sign),
                     strings.stringForKey(keyOf(finding.check), finding.check),
                     finding.sentence.in(strings), finding.remedy.in(strings),
                     commandIn(finding.remedy), pageOf(finding.remedy)});
  }
  return shown;
}

}  // namespace quillo
