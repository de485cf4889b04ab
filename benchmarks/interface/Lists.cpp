#include "benchmarks/interface/Lists.h"

#include <algorithm>
#include <string>
#include <thread>

#include "benchmarks/interface/ListWindow.h"
#include "benchmarks/interface/LongLists.h"

namespace bench {
namespace {

constexpr int openings = 5;
// A long history has too many pages to look at each: so many at either end.
constexpr int mostPages = 1'000;
constexpr int stormSeconds = 10;
constexpr Milliseconds betweenNews(1000);
constexpr Milliseconds lastPaint(200);

double worstOf(Probe& probe) {
  const std::vector<double> answers = probe.finish();
  return *std::max_element(answers.begin(), answers.end());
}

struct Leafing {
  std::vector<double> worst;
  std::vector<double> seconds;
};

// To the end and back, page by page.
void leaf(ListWindow& window, int rows, Leafing& measured) {
  const int pages = std::min(rows / window.enterTable() + 1, mostPages);
  const auto probe = window.probe();
  const Milliseconds begin = now();
  window.press("Next", pages);
  window.press("End", 1);
  window.press("Prior", pages);
  window.press("Home", 1);
  measured.seconds.push_back((now() - begin).count() / 1000);
  pause(lastPaint);
  measured.worst.push_back(worstOf(*probe));
}

void measureList(Stage& stage, const std::string& page, const std::string& title, int rows,
                 const std::string& what) {
  std::vector<double> first;
  Leafing leafing;
  for (int number = 0; number < openings; ++number) {
    ListWindow window(stage.session(), stage.window());
    first.push_back(window.openPage(page, title).count());
    leaf(window, rows, leafing);
  }
  print(what + ": asked for to its rows (200)", first, "ms");
  print(what + ": longest pause of leafing (50)", leafing.worst, "ms");
  print(what + ": to the end and back, page by page", leafing.seconds, "s");
}

// While 10,000 finds a second are entered, and the window is told of that each second.
void measureNews(Stage& stage, const std::string& page, const std::string& historyFolder) {
  std::vector<double> worst;
  std::vector<double> usual;
  for (int number = 0; number < openings; ++number) {
    ListWindow window(stage.session(), stage.window());
    window.askFor(page);
    pause(betweenNews);
    const auto probe = window.probe();
    std::thread writer([&] { storm(historyFolder, stormSeconds); });
    for (int second = 0; second < stormSeconds; ++second) {
      pause(betweenNews);
      window.tellNews();
      // The overview counts anew when it is asked for.
      window.askFor(page);
    }
    writer.join();
    const std::vector<double> answers = probe->finish();
    worst.push_back(*std::max_element(answers.begin(), answers.end()));
    usual.push_back(quantile(answers, 0.99));
  }
  print("answer amid news, page " + page + ": worst (50)", worst, "ms");
  print("answer amid news, page " + page + ": 99 of 100", usual, "ms");
}

}  // namespace

void measureLists(Stage& stage) {
  const std::string history = stage.session().homeFolder() + "/.local/state/vantrel";
  const std::string quarantine = stage.session().homeFolder() + "/Quarantine";
  makeLongHistory(history);
  makeFullQuarantine(quarantine);
  stage.setPreferences("QuarantineFolder = \"" + quarantine + "\"");
  measureList(stage, "quarantine", "Quarantine", filesOfQuarantine, "quarantine of 10,000 files");
  measureList(stage, "results", "Results", rowsOfHistory, "history of 1,000,000 rows");
  measureNews(stage, "overview", history);
  measureNews(stage, "results", history);
  measureNews(stage, "quarantine", history);
  stage.setPreferences("");
}

}  // namespace bench
