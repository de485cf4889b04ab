#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "history/HistoryReader.h"

namespace quillo {

class Application;
class ThreadStarter;

// Chooses results of the history without holding up the window: a long history takes a moment. Main
// thread; both services outlive the threads that it starts.
class HistorySearch {
 public:
  // What a search has come to. Where the history is not good, nothing is chosen.
  struct Found {
    HistorySelection selection;
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
  void giveUp();

 private:
  // Shared with the thread that searches.
  struct Search {
    std::atomic<bool> isWanted{true};
  };

  const std::string folder_;
  Application& application_;
  ThreadStarter& threads_;
  std::shared_ptr<Search> search_;
};

}  // namespace quillo
