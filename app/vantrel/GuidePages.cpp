#include "app/vantrel/GuidePages.h"

#include <memory>
#include <string>

#include "app/vantrel/CompanionParts.h"
#include "app/vantrel/SelfTestParts.h"
#include "clamav/Verdict.h"
#include "companion/HelpPage.h"
#include "companion/doctor/HelpFindings.h"
#include "companion/folders/FolderCare.h"
#include "companion/start/EngineDefinitions.h"
#include "companion/start/FirstChoices.h"
#include "companion/start/StartPage.h"
#include "platform/AgentLink.h"
#include "platform/Application.h"
#include "platform/DesktopCheck.h"
#include "platform/Folders.h"
#include "platform/Session.h"
#include "posix/FileFacts.h"
#include "posix/Version.h"
#include "settings/WatchSettings.h"

namespace quillo {
namespace {

// One that runs without preferences looks for them when it is to watch.
bool startAgent(CompanionParts& parts) {
  parts.preferenceChanges.lookAgain();
  if (parts.desktop.agentLink.presence() == AgentPresence::absent) {
    return parts.desktop.agentLink.start();
  }
  parts.desktop.distributedNotificationCenter.post("VantrelQuilloShouldRestart", "Vantrel");
  return true;
}

struct FirstStart {
  FirstStart(CompanionParts& parts, MainWindow& window, Page& its)
      : selfTest(parts, false),
        choices({parts.desktop.folders, parts.desktop.preferenceStore,
                 [&parts](const std::string& engine) { return parts.makeEngine(engine); }}),
        definitions({parts.desktop.agentLink, parts.desktop.clock, parts.definitionUpdate,
                     parts.desktop.localizedStrings, parts.preferences}),
        page(
            its, window,
            {parts.desktop.localizedStrings, choices, definitions,
             selfTestServices(parts, selfTest), [&parts] { return startAgent(parts); },
             [&parts](const std::string& path, const std::vector<std::string>& before) {
               return parts.chosenFolders.concernAbout(path, before);
             },
             [&parts](const std::string& folder) {
               const CareInWords care = careInWords({folder, true}, parts.desktop.localizedStrings);
               return care.isCaught ? "" : reportedText(folder) + ": " + care.words;
             }},
            [&window] { window.show("overview"); }) {}

  SelfTestParts selfTest;
  FirstChoicesFile choices;
  EngineDefinitions definitions;
  StartPage page;
};

// Agent and desktop are asked here; everything else may take seconds.
std::function<std::vector<HelpFinding>()> examination(CompanionParts& parts) {
  DoctorFacts facts;
  AgentLink& agent = parts.desktop.agentLink;
  // The window may have come up with this page, before the bus has said anything.
  if (agent.presence() == AgentPresence::unknown) {
    facts.agentProblem = agent.refresh();
  }
  facts.agent = agent.status();
  if (!facts.agent && facts.agentProblem.empty() && agent.presence() != AgentPresence::absent) {
    facts.agentProblem = {"DOCTOR_AGENT_NOT_YET"};
  }
  facts.desktop = parts.desktop.desktopCheck.look();
  return [services = parts.doctorServices(), facts] {
    return helpFindingsOf(examine(services, facts), services.strings);
  };
}

std::string ifThere(const std::string& path) { return fileFacts(path) ? path : std::string(); }

std::string versions(const CompanionDesktop& desktop) {
  const auto agent = desktop.agentLink.status();
  return std::string("vantrel ") + projectVersion +
         (agent ? "\nvantrel-quillo " + agent->program : std::string());
}

HelpPageServices helpServices(CompanionParts& parts, SelfTestParts& selfTest) {
  const CompanionDesktop& desktop = parts.desktop;
  return {desktop.application,
          desktop.localizedStrings,
          parts.threads,
          desktop.workspace,
          [&parts] { return examination(parts); },
          [&desktop] {
            return ifThere(desktop.folders.homeFolder() + "/Library/Logs/VantrelQuillo-scan.log");
          },
          [&parts] { return ifThere(withEngine({}, parts.preferences).updateLog.value_or("")); },
          [&desktop] { return versions(desktop); },
          selfTestServices(parts, selfTest)};
}

struct Help {
  Help(CompanionParts& parts, MainWindow& window, Page& its)
      : selfTest(parts, false), page(its, window, helpServices(parts, selfTest)) {}

  SelfTestParts selfTest;
  HelpPage page;
};

}  // namespace

LivingPage startPage(CompanionParts& parts, MainWindow& window, Page& page) {
  return {std::make_shared<FirstStart>(parts, window, page)};
}

LivingPage helpPage(CompanionParts& parts, MainWindow& window, Page& page) {
  return {std::make_shared<Help>(parts, window, page)};
}

}  // namespace quillo
