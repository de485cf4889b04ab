#include "app/vantrel/CompanionPages.h"

#include <ctime>
#include <memory>
#include <string>

#include "app/vantrel/CompanionParts.h"
#include "companion/PlannedPage.h"
#include "companion/ResultsPage.h"
#include "platform/Folders.h"

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

LivingPage plannedPage(CompanionParts& parts, MainWindow& window, Page& page) {
  const CompanionDesktop& desktop = parts.desktop;
  return {std::make_shared<PlannedPage>(
      page, window,
      PlannedPageServices{desktop.application, desktop.localizedStrings, desktop.plannedScans,
                          parts.threads, timeInWords})};
}

// What its user has agreed to; if it cannot be done, he is told.
void exclude(CompanionParts& parts, MainWindow& window, const std::string& expression) {
  LocalizedStrings& strings = parts.desktop.localizedStrings;
  const Wording problem = parts.exclusions.addExclusion({expression, true});
  if (!problem.empty()) {
    window.ask({problem.in(strings), "", {strings.stringForKey("WINDOW_BUTTON_CLOSE", "&Close")}},
               [](std::size_t) {});
  }
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
                        exclude(parts, window, expression);
                      }});
  window.onShown("results", [results = logic.get()] { results->historyChanged(); });
  return {logic};
}

}  // namespace

std::vector<CompanionPage> companionPages(CompanionParts& parts, MainWindow& window) {
  using Make = LivingPage (*)(CompanionParts&, MainWindow&, Page&);
  const auto page = [&](const char* name, Make make) {
    return CompanionPage{name,
                         [&parts, &window, make](Page& its) { return make(parts, window, its); }};
  };
  return {page("results", resultsPage), page("planned", plannedPage)};
}

}  // namespace quillo
