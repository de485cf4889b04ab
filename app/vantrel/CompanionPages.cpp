#include "app/vantrel/CompanionPages.h"

#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "app/vantrel/CompanionParts.h"
#include "app/vantrel/GuidePages.h"
#include "companion/folders/Excluding.h"
#include "companion/folders/FoldersPage.h"
#include "companion/overview/OverviewPage.h"
#include "companion/planned/PlannedPage.h"
#include "companion/quarantine/QuarantinePage.h"
#include "companion/results/ResultsPage.h"
#include "companion/scan/ScanPage.h"
#include "companion/settings/SettingsPage.h"
#include "companion/start/EngineSetup.h"
#include "platform/AgentLink.h"
#include "platform/Application.h"
#include "platform/Folders.h"
#include "platform/Session.h"

namespace quillo {
namespace {

// As the locale of the session writes it; without seconds, which nobody asks for.
std::string timeInWords(std::int64_t time) {
  const auto seconds = static_cast<std::time_t>(time);
  std::tm local = {};
  char text[64];
  localtime_r(&seconds, &local);
  return {text, std::strftime(text, sizeof text, "%x %H:%M", &local)};
}

ExcludingServices excludingServices(CompanionParts& parts, MainWindow& window) {
  return {parts.exclusions, parts.desktop.localizedStrings, window};
}

LivingPage plannedPage(CompanionParts& parts, MainWindow& window, Page& page) {
  const CompanionDesktop& desktop = parts.desktop;
  return {std::make_shared<PlannedPage>(
      page, window,
      PlannedPageServices{
          desktop.application, desktop.localizedStrings, desktop.plannedScans, parts.threads,
          timeInWords,
          [folder = desktop.folders.stateFolder()](const std::vector<PlannedScan>& scans) {
            return lastScansOf(scans, folder);
          }})};
}

// Has it called whenever the agent, this program or one of its commands has news of finds.
void whenFindsCome(CompanionParts& parts, std::function<void()> changed) {
  parts.historyChanged = [before = std::move(parts.historyChanged), changed] {
    before();
    changed();
  };
  parts.desktop.distributedNotificationCenter.addObserver(historyHasChanged, changed);
  AgentLink& agent = parts.desktop.agentLink;
  agent.observe([changed = std::move(changed), &agent, seen = std::uint64_t{0}]() mutable {
    const std::uint64_t now = agent.status().value_or(AgentStatus()).verdicts;
    if (std::exchange(seen, now) != now) {
      changed();
    }
  });
}

LivingPage resultsPage(CompanionParts& parts, MainWindow& window, Page& page) {
  const CompanionDesktop& desktop = parts.desktop;
  auto logic = std::make_shared<ResultsPage>(
      page, window,
      ResultsServices{desktop.application, parts.threads, desktop.clock, desktop.localizedStrings,
                      desktop.workspace, desktop.folders.stateFolder(),
                      desktop.folders.homeFolder(),
                      [&parts](const std::vector<std::string>& paths) { parts.scan(paths); },
                      [&parts, &window](const std::string& expression) {
                        excludeExpression(excludingServices(parts, window), expression);
                      },
                      [&parts](const std::string& path, const std::optional<FileIdentity>& shown) {
                        return parts.allowedFinds.allowFile(path, shown);
                      },
                      [&parts, &window](const std::string& path) {
                        window.show(QuarantinePage::name);
                        parts.selectInQuarantine(path);
                      }});
  window.onShown("results", [results = logic.get()] { results->historyChanged(); });
  const auto changed = [&window, weak = std::weak_ptr<ResultsPage>(logic)] {
    const auto results = weak.lock();
    if (results && window.shownPage() == "results") {
      results->historyChanged();
    }
  };
  whenFindsCome(parts, changed);
  return {logic};
}

LivingPage scanPage(CompanionParts& parts, MainWindow& window, Page&) {
  const CompanionDesktop& desktop = parts.desktop;
  auto logic = std::make_shared<ScanPage>(
      window, ScanPageServices{parts.scanServices(), desktop.agentLink,
                               [&desktop] { return pluggedInVolumes(desktop.volumes); },
                               desktop.volumeChanges, parts.allowedFinds,
                               [&parts, &window](const std::vector<std::string>& paths) {
                                 askToExclude(excludingServices(parts, window), paths);
                               },
                               &parts.keepScans(ScanSource::byHand), &parts.keptMoves});
  window.onClose([weak = std::weak_ptr<ScanPage>(logic)] {
    const auto scans = weak.lock();
    return !scans || scans->mayClose();
  });
  logic->offerToWatch([&center = desktop.distributedNotificationCenter] {
    center.post("VantrelQuilloShouldRestart", "Vantrel");
  });
  return {logic,
          [scans = logic.get()](const std::vector<std::string>& paths) { scans->scan(paths); }};
}

LivingPage quarantinePage(CompanionParts& parts, MainWindow& window, Page&) {
  auto logic = QuarantinePage::make(window, parts.quarantineServices());
  parts.selectInQuarantine = [weak =
                                  std::weak_ptr<QuarantinePage>(logic)](const std::string& path) {
    if (const auto quarantine = weak.lock()) {
      quarantine->select(path);
    }
  };
  whenFindsCome(parts, [&window, weak = std::weak_ptr<QuarantinePage>(logic)] {
    const auto quarantine = weak.lock();
    if (quarantine && window.shownPage() == QuarantinePage::name) {
      quarantine->listChanged();
    }
  });
  return {logic};
}

LivingPage overviewPage(CompanionParts& parts, MainWindow& window, Page& page) {
  const CompanionDesktop& desktop = parts.desktop;
  auto logic = std::make_shared<OverviewPage>(
      page, window,
      OverviewServices{
          desktop.agentLink, desktop.clock, parts.definitionUpdate, desktop.localizedStrings,
          desktop.distributedNotificationCenter, parts.preferences, parts.historyCounts,
          desktop.application, parts.threads, [&parts] {
            const CompanionDesktop& its = parts.desktop;
            return EngineSetup(
                       {its.folders, parts.preferenceChanges, its.distributedNotificationCenter,
                        [&parts](const std::string& engine) { return parts.makeEngine(engine); }})
                .setUp();
          }});
  const auto refresh = [weak = std::weak_ptr<OverviewPage>(logic)] {
    if (const auto overview = weak.lock()) {
      overview->refresh();
    }
  };
  parts.historyChanged = [others = parts.historyChanged, refresh] {
    others();
    refresh();
  };
  desktop.distributedNotificationCenter.addObserver(historyHasChanged, refresh);
  return {logic};
}

LivingPage foldersPage(CompanionParts& parts, MainWindow& window, Page& page) {
  LocalizedStrings& strings = parts.desktop.localizedStrings;
  AgentLink& agent = parts.desktop.agentLink;
  auto logic = std::make_shared<FoldersPage>(
      page, window,
      FoldersPage::Services{
          parts.preferenceChanges, parts.chosenFolders, parts.exclusions,
          parts.explanationServices(), strings, agent, parts.desktop.distributedNotificationCenter,
          [&strings](const ChosenFolder& folder) { return careInWords(folder, strings); },
          [&agent, &strings] {
            return watchingStateOf(agent.presence(), agent.status(), strings).empty();
          }});
  agent.observe([weak = std::weak_ptr<FoldersPage>(logic)] {
    if (const auto folders = weak.lock()) {
      folders->agentChanged();
    }
  });
  return {logic};
}

LivingPage settingsPage(CompanionParts& parts, MainWindow& window, Page& page) {
  const CompanionDesktop& desktop = parts.desktop;
  auto logic = std::make_shared<SettingsPage>(
      page, window,
      SettingsPage::Services{parts.preferenceChanges, parts.preferences, desktop.agentLink,
                             desktop.distributedNotificationCenter, desktop.folders,
                             desktop.localizedStrings, desktop.workspace,
                             std::thread::hardware_concurrency()});
  desktop.agentLink.observe([weak = std::weak_ptr<SettingsPage>(logic)] {
    if (const auto settings = weak.lock()) {
      settings->agentChanged();
    }
  });
  return {logic};
}

}  // namespace

std::vector<CompanionPage> companionPages(CompanionParts& parts, MainWindow& window) {
  using Make = LivingPage (*)(CompanionParts&, MainWindow&, Page&);
  const auto page = [&](const char* name, Make make) {
    return CompanionPage{name,
                         [&parts, &window, make](Page& its) { return make(parts, window, its); }};
  };
  return {page("overview", overviewPage), page("scan", scanPage),
          page("results", resultsPage),   page("quarantine", quarantinePage),
          page("folders", foldersPage),   page("planned", plannedPage),
          page("settings", settingsPage), page("start", startPage),
          page("help", helpPage)};
}

}  // namespace quillo
