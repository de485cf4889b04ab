#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "history/AbandonedTests.h"
#include "history/HistoryEntry.h"
#include "history/HistoryFile.h"
#include "posix/Clock.h"

namespace quillo {

class SystemLog;

// What is entered together.
struct HistoryBatch {
  std::deque<HistoryChange> changes;
  // By day and folder.
  std::map<std::pair<CalendarDay, std::string>, ScannedAmount> scanned;

  bool empty() const { return changes.empty() && scanned.empty(); }
};

// What is kept at most, whichever is reached first.
struct HistoryLimits {
  std::int64_t bytes = 50'000'000;  // on disk, all files of the database together
  std::chrono::hours age{365 * 24};
};

// Returns those of a scan's paths for which its row has room. Pure.
std::vector<std::string> pathsWithRoom(const std::vector<std::string>& paths);

// The history as it is written. One that turns out to be broken is set aside and a new one begun,
// which the log says. One thread.
class HistoryStore {
 public:
  // `folder` is the agent's own for what it remembers.
  HistoryStore(std::string folder, Clock& clock, SystemLog& log, HistoryLimits limits);
  ~HistoryStore();

  // Enters all of it, or nothing, and deletes in its stead what is too much or too old, the oldest
  // first. Throws PlatformException when that cannot be done now, as on a full disk.
  void write(const HistoryBatch& batch);
  // Gives back what the database holds of memory and does not use.
  void releaseMemory() const;
  // Closes the database. The next writing opens it again.
  void close();

 private:
  // The database, and the statements that are run again and again.
  struct Open;

  void writeNow(const HistoryBatch& batch);
  void openIt();
  void setAside(const std::string& reason);
  void prune();
  bool deleteOldest();
  void deleteTooOld();

  // Constant after construction.
  const HistoryFile file_;
  const AbandonedTests tests_;
  Clock& clock_;
  SystemLog& log_;
  const HistoryLimits limits_;
  // Used by one thread.
  std::unique_ptr<Open> open_;
  int timesUnreadable_ = 0;  // in a row
  std::deque<Clock::Duration> setAsideAt_;
};

}  // namespace quillo
