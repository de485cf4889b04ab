#include "app/vantrel/SelfTestParts.h"

#include "app/vantrel/CompanionParts.h"
#include "companion/folders/Explanation.h"
#include "platform/Folders.h"

namespace quillo {
namespace {

// As the scanners judge a file that is to lie there.
bool isGuardedIn(const std::string& folder, const ExplanationServices& services) {
  return explain(folder + (folder.ends_with('/') ? "" : "/") + "vantrel-self-test.com", services)
      .isGuarded();
}

}  // namespace

SelfTestParts::SelfTestParts(CompanionParts& parts, bool asksEachTime)
    : finds(parts.desktop.folders.stateFolder(),
            [&parts](const LaterOutcome& outcome) { parts.enter(outcome); }),
      evidence(
          {parts.desktop.agentLink,
           [services = parts.explanationServices()](const std::string& folder) {
             return isGuardedIn(folder, services);
           },
           [this](const std::string& path, std::int64_t since) {
             return finds.findOf(path, since);
           },
           asksEachTime,
           [this](const std::string& path, std::int64_t since) { finds.abandon(path, since); }}) {}

SelfTestServices selfTestServices(CompanionParts& parts, SelfTestParts& selfTest) {
  const CompanionDesktop& desktop = parts.desktop;
  return {desktop.application,
          desktop.clock,
          desktop.localizedStrings,
          parts.threads,
          selfTest.evidence,
          [&parts] { return moveFoldersOf(parts); },
          [&desktop] { return desktop.agentLink.start(); }};
}

std::vector<std::string> moveFoldersOf(const CompanionParts& parts) {
  const std::string trash = parts.desktop.folders.dataFolder() + "/Trash";
  std::vector<std::string> folders = {trash + "/files", trash + "/info"};
  const std::string quarantine = parts.preferences.value(key::quarantineFolder).value_or("");
  if (!quarantine.empty()) {
    folders.push_back(quarantine);
  }
  return folders;
}

}  // namespace quillo
