#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "companion/results/HistorySearch.h"
#include "companion/results/ReadRows.h"
#include "companion/results/ResultsWords.h"
#include "companion/results/ScansView.h"
#include "history/HistoryReader.h"
#include "posix/FileIdentity.h"

namespace quillo {

class Application;
class Clock;
class LocalizedStrings;
class MainWindow;
class Page;
class ThreadStarter;
class Workspace;

// The services that the results use. All of them outlive the page.
struct ResultsServices {
  Application& application;
  ThreadStarter& threads;
  Clock& clock;
  LocalizedStrings& strings;
  Workspace& workspace;
  std::string historyFolder;  // the agent's own for what it remembers
  std::string home;
  // Scans these files at once.
  std::function<void(const std::vector<std::string>& paths)> scan;
  // Excludes what that regular expression matches (PathPattern.h); its user has agreed.
  std::function<void(const std::string& expression)> exclude;
  // Has the file that was shown left alone until it changes; its user has agreed. Returns "", or
  // why not, in words for people.
  std::function<std::string(const std::string& path, const std::optional<FileIdentity>& shown)>
      allow;
  // Shows the page of the quarantine with the file of that path selected.
  std::function<void(const std::string& path)> showQuarantine;
};

// The page "results": what was found and what could not be scanned (`results`, narrowed down by
// `search`, `kind` and `period`, with `openFolder`, `scanAgain`, `exclude`, `allow` for a find in
// its place and `showQuarantine` for one that was moved there), perhaps of one scan alone (`ofScan`
// says of which, and `allResults` ends that); while `showScans` stays down, the scans by hand and
// planned ones (ScansView); and, while `showBusy` does, where much was scanned (`busy`, for each
// day while `byDay` is checked). `summary` says how many rows there are, or why there are none;
// `notice` how an action went. Main thread.
class ResultsPage {
 public:
  // More files than that are not scanned again at once.
  static constexpr std::size_t mostScannedAgain = 1000;
  static constexpr std::size_t mostBusyFolders = 1000;

  ResultsPage(Page& page, MainWindow& window, const ResultsServices& services);

  // Shows the history as it is now, behind a search that is under way: news may come faster than a
  // long history is searched. To be called whenever it has news, and when the page is shown.
  void historyChanged();

 private:
  enum class View { files, scans, busy };

  void connect();
  void look();
  void searchHasEnded();
  HistoryFilter filter() const;
  // Nothing for any time.
  std::optional<WallTime> since() const;
  View view() const;
  void turnTo(View view);
  void showView();
  bool isReadable(HistoryReader::State state, const std::string& reason);
  void showKinds();
  void showFilesOf(const ScanRun& run);
  void showAllResults();
  void clear();
  std::string wordsOfNone() const;
  void showScans();
  void choose();
  void show(const HistorySelection& selection);
  void chooseBusy();
  void showBusy(std::vector<BusyFolder> folders);
  void showButtons();
  std::vector<HistoryResult> selected() const;
  void openFolder();
  void scanAgain();
  void askToExclude();
  void askToAllow();
  void askToScanAgain(const std::string& path);
  void showQuarantine();
  void say(const std::string& notice);

  Page& page_;
  MainWindow& window_;
  const ResultsServices services_;
  const ResultsWords words_;
  const std::shared_ptr<HistoryReader> reader_;
  const std::shared_ptr<ReadRows<HistoryResult>> table_;
  ScansView scans_;
  HistorySearch search_;
  bool hasNews_ = false;  // since the search that is under way began
  // The scan whose results alone are shown; 0 for all.
  std::int64_t run_ = 0;
};

// Returns the regular expression that matches this file and no other. Pure.
std::string expressionOfFile(const std::string& path);

}  // namespace quillo
