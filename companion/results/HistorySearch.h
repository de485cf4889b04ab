#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "history/HistoryReader.h"

namespace quillo {

class Application;
class ThreadStarter;

// Reads of the history what takes a moment where that is long, without holding up the window. Main
// thread; both services outlive the threads that it starts.
class HistorySearch {
 public:
  // Which folders are wanted, at most `most`: all days together, or one by one.
  struct BusyQuestion {
    CalendarDay since = 0;
    bool byDay = false;
    std::size_t most = 0;
  };
  // What a search has come to. Where the history is not good, nothing is chosen.
  struct Found {
    HistorySelection selection;       // of results
    std::vector<BusyFolder> folders;  // where much was scanned
    HistoryReader::State state = HistoryReader::State::good;
    std::string reason;
  };
  using Done = std::function<void(const Found& found)>;

  // `folder` is the agent's own for what it remembers.
  HistorySearch(std::string folder, Application& application, ThreadStarter& threads);
  // What still searches is given up.
  ~HistorySearch();
  HistorySearch(const HistorySearch&) = delete;
  HistorySearch& operator=(const HistorySearch&) = delete;

  // Calls `done` with what the filter chooses, later; an earlier search is given up, and its `done`
  // is not called.
  void begin(const HistoryFilter& filter, Done done);
  // Likewise with the folders where most was scanned.
  void begin(const BusyQuestion& question, Done done);
  void giveUp();
  // Returns true until a search has come to its end.
  bool isUnderWay() const { return search_ != nullptr; }

 private:
  // Shared with the thread that searches.
  struct Search {
    std::atomic<bool> isWanted{true};
  };

  using GoesOn = std::function<bool()>;
  using Read = std::function<void(HistoryReader& reader, const GoesOn& goesOn, Found& found)>;

  void run(Read read, Done done);

  const std::string folder_;
  Application& application_;
  ThreadStarter& threads_;
  std::shared_ptr<Search> search_;
};

}  // namespace quillo
