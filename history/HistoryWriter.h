#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "history/HistoryStore.h"
#include "posix/Clock.h"
#include "posix/Mutex.h"

namespace quillo {

class SystemLog;
class ThreadStarter;

// What the writer stands on. All of it outlives it.
struct HistoryWriterServices {
  Clock& clock;
  SystemLog& systemLog;
  std::string folder;  // the agent's own for what it remembers
  std::string home;
  // Called after something was entered, on the writer's thread, with how many results, outcomes and
  // runs were among it; may be null.
  std::function<void(std::size_t changes)> wasWritten = {};
  HistoryLimits limits = {};
  // Called, on the same thread, when nothing can be kept any more, with problem(), and with "" when
  // it can again; may be null.
  std::function<void(const std::string& problem)> problemChanged = {};
};

// Takes what is found out from any thread, without making it wait, and enters it on a thread of its
// own, a few seconds' worth together. What cannot be written is kept for a while and tried again;
// no failure reaches whoever guards.
class HistoryWriter {
 public:
  // How late something is entered at most, while it can be.
  static constexpr Clock::Duration delay = std::chrono::seconds(2);
  static constexpr Clock::Duration betweenAttempts = std::chrono::seconds(30);
  // What is kept in memory: changes, names of clean files, and folders once these are summed up.
  static constexpr std::size_t mostChanges = 10'000;
  static constexpr std::size_t mostNames = 40'000;
  static constexpr std::size_t mostFolders = 2'000;
  // A file that the agent cannot scan is entered once a day for the same reason, however often it
  // is written, and not more such files: whoever may write in a guarded folder could make as many
  // as it takes to push every find out.
  static constexpr std::size_t mostADay = 1'000;
  // Those beyond are counted, each once, up to so many.
  static constexpr std::size_t mostUnnamed = 40'000;

  explicit HistoryWriter(HistoryWriterServices services);

  // Enters it soon. Any thread, as the next three.
  void add(HistoryChange change);
  // Counts a file that is clean, without keeping its name.
  void addClean(const std::string& path);
  // Counts so many clean files somewhere below that folder, whose names nobody knows.
  void addClean(const std::string& folder, const ScannedAmount& amount);
  // Returns why nothing can be kept now, in words for the log; "" when all is well.
  std::string problem();

  // Starts the thread; the second call does nothing. Throws std::system_error when the system has
  // none, and the next call tries again. Main thread.
  void begin(ThreadStarter& threads);
  // Runs steps until end() is called.
  void mainLoop();
  // Waits until there is something to enter and its time has come, or the end, and enters it.
  void step();
  // Has all that has come entered at once, and waits for that, but not longer than `atMost`. What
  // comes later is lost. Returns false while the thread still runs, or has yet to, which needs this
  // object. Once; any thread.
  bool end(Clock::Duration atMost);

 private:
  struct Waiting {
    std::vector<HistoryChange> changes;
    std::vector<std::string> clean;
    // Of more clean files than that, whose sizes are not known, and of those without names.
    std::map<std::string, ScannedAmount> summedUp;
    std::uint64_t givenUp = 0;

    bool empty() const {
      return changes.empty() && clean.empty() && summedUp.empty() && givenUp == 0;
    }
  };

  void arrived() QUILLO_REQUIRES(wake_);
  void hasArrived(std::size_t waiting, std::size_t most) QUILLO_REQUIRES(wake_);
  Waiting await();
  void takeIn(Waiting waiting);
  void count(const std::string& folder, const ScannedAmount& amount, CalendarDay day);
  void sumUp(std::string folder, const ScannedAmount& amount) QUILLO_REQUIRES(wake_);
  bool isLeftOut(const HistoryChange& change);
  void beginDay(CalendarDay today);
  void addUnnamed();
  void giveUpTooMany();
  void write();
  void hasEndedNow();
  void logFailure(const std::string& failure);

  // Constant after construction.
  const HistoryWriterServices services_;
  // The thread's own.
  HistoryStore store_;
  HistoryBatch batch_;  // taken in, but not entered yet
  std::uint64_t givenUp_ = 0;
  std::set<std::pair<std::string, std::string>> notScannedToday_;  // path and reason
  std::unordered_set<std::size_t> unnamedToday_;                   // by their hashes
  std::size_t unnamedAdded_ = 0;                                   // of these, so far
  CalendarDay today_ = 0;
  // Own synchronisation. The loop is run once: by the thread, or by who ends it before that runs.
  std::atomic<bool> hasThread_{false};
  std::atomic<bool> isTaken_{false};

  Condition wake_;
  Waiting waiting_ QUILLO_GUARDED_BY(wake_);
  bool isEnding_ QUILLO_GUARDED_BY(wake_) = false;
  // When what waits is entered: some time after the first of it came, or after a failure.
  Clock::Duration dueAt_ QUILLO_GUARDED_BY(wake_){};
  bool hasUnwritten_ QUILLO_GUARDED_BY(wake_) = false;
  std::string problem_ QUILLO_GUARDED_BY(wake_);

  Condition ended_;
  bool hasEnded_ QUILLO_GUARDED_BY(ended_) = false;
};

}  // namespace quillo
