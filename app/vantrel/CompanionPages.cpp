#include "app/vantrel/CompanionPages.h"

#include <ctime>
#include <memory>
#include <string>

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

}  // namespace

std::vector<CompanionPage> companionPages(const CompanionDesktop& desktop, ThreadStarter& threads) {
  MainWindow& window = desktop.mainWindow;
  return {{"planned", [&desktop, &window, &threads](Page& page) {
             return LivingPage{std::make_shared<PlannedPage>(
                 page, window,
                 PlannedPageServices{desktop.application, desktop.localizedStrings,
                                     desktop.plannedScans, threads, timeInWords})};
           }}};
}

}  // namespace quillo
