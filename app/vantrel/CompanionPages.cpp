#include "app/vantrel/CompanionPages.h"

#include <ctime>
#include <memory>
#include <string>

#include "app/vantrel/CompanionParts.h"
#include "companion/PlannedPage.h"

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

}  // namespace

std::vector<CompanionPage> companionPages(CompanionParts& parts, MainWindow& window) {
  using Make = LivingPage (*)(CompanionParts&, MainWindow&, Page&);
  const auto page = [&](const char* name, Make make) {
    return CompanionPage{name,
                         [&parts, &window, make](Page& its) { return make(parts, window, its); }};
  };
  return {page("planned", plannedPage)};
}

}  // namespace quillo
