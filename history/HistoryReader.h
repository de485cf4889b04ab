#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "history/HistoryEntry.h"
#include "history/HistoryFile.h"
#include "history/Sql.h"

namespace quillo {

// Which results are wanted; as it is made, all.
struct HistoryFilter {
  // In the path, the threat or the reason: any bytes; letters of ASCII count as equal in both
  // cases.
  std::string text = {};
  std::optional<HistoryResult::Kind> kind = {};
  // A folder with all below it, without a "/" at its end.
  std::string folder = {};
  std::optional<WallTime> since = {};
  std::int64_t run = 0;  // ScanRun::id; 0 for all, also those without one

  bool isEmpty() const { return text.empty() && !kind && folder.empty() && !since && run == 0; }
  bool operator==(const HistoryFilter&) const = default;
};

// The results that a filter chose, or scans, the latest first: their numbers, not what they say.
class HistorySelection {
 public:
  HistorySelection() = default;
  // All from `first` to `last`.
  HistorySelection(std::int64_t first, std::int64_t last)
      : first_(first), count_(static_cast<std::size_t>(last - first + 1)) {}
  explicit HistorySelection(std::vector<std::int64_t> ids)
      : ids_(std::make_shared<const std::vector<std::int64_t>>(std::move(ids))),
        count_(ids_->size()) {}

  std::size_t count() const { return count_; }
  // Returns the row of that one; nothing when it was not chosen. The latest stand first.
  std::optional<std::size_t> rowOf(std::int64_t id) const;
  // `row` is smaller than count().
  std::int64_t id(std::size_t row) const {
    return ids_ ? (*ids_)[row] : first_ + static_cast<std::int64_t>(count_ - row) - 1;
  }

 private:
  std::int64_t first_ = 0;
  std::shared_ptr<const std::vector<std::int64_t>> ids_;  // one list for all copies: it may be long
  std::size_t count_ = 0;
};

// In how many files something was found since some time, those of self-tests apart, and how many
// could not be scanned.
struct HistoryTotals {
  std::uint64_t found = 0;
  std::uint64_t notScanned = 0;

  bool operator==(const HistoryTotals&) const = default;
};

// A folder and what was scanned in it on one day.
struct BusyFolder {
  CalendarDay day = 0;
  std::string folder;
  ScannedAmount amount;

  bool operator==(const BusyFolder&) const = default;
};

// Reads the history, also while the agent or another program writes it, and never makes or mends
// one. Every operation opens it anew if another file has taken its place. One thread.
class HistoryReader {
 public:
  enum class State {
    good,
    missing,    // nothing has been kept yet
    newer,      // written by a newer version of this program
    broken,     // no history, or a damaged one: the agent sets it aside when it writes next
    unreadable  // it cannot be opened
  };

  // `folder` is the agent's own for what it remembers.
  explicit HistoryReader(std::string folder);

  // Opens it, or looks whether it is still well. Below, a history that is not good is empty, and
  // one that turns out to be damaged may be, too: state() says so.
  State open();
  // Gives back its descriptors and memory until it is used again.
  void close() { connection_.reset(); }
  // Returns how it stood when it was used last.
  State state() const { return state_; }
  // Returns what went wrong, in the words of the system; "" when all is good.
  const std::string& reason() const { return reason_; }

  // Chooses the results. Without a filter it costs nothing; with one, more the longer the history:
  // `goesOn` is asked now and then, and the choice is empty once it says no.
  HistorySelection select(const HistoryFilter& filter, const std::function<bool()>& goesOn = {});
  // Returns the chosen results from `row` on, at most `count`; one that was deleted meanwhile has
  // no path and counts nothing.
  std::vector<HistoryResult> rows(const HistorySelection& selection, std::size_t row,
                                  std::size_t count);
  HistoryTotals totalsSince(WallTime since);
  // Returns when its oldest entry was made, or that day began; nothing where it has none.
  std::optional<WallTime> beginning();
  // Returns what was scanned from that day on, by day and folder, at most `most`: the latest day
  // first and, in it, what had most bytes.
  std::vector<BusyFolder> busyFolders(CalendarDay since, std::size_t most);
  // The same for all days together, by folder; their `day` is none.
  std::vector<BusyFolder> busiestFolders(CalendarDay since, std::size_t most);
  // Chooses the scans by hand and planned ones: all, or those behind the last one that began before
  // `since`.
  HistorySelection selectRuns(std::optional<WallTime> since = {});
  // Returns the chosen scans from `row` on, at most `count`; one that was deleted meanwhile has no
  // id.
  std::vector<ScanRun> runs(const HistorySelection& selection, std::size_t row, std::size_t count);

 private:
  // Calls it on a good history, and takes note of a failure.
  void attempt(const std::function<void(const SqlConnection&)>& body);
  void openIt();
  State stateAfter(const SqlFailure& failure);
  std::vector<BusyFolder> foldersOf(std::string_view sql, CalendarDay since, std::size_t most);

  // Constant after construction.
  const HistoryFile file_;
  // Used by one thread.
  std::optional<SqlConnection> connection_;
  HistoryFile::Identity identity_;
  State state_ = State::missing;
  std::string reason_;
};

}  // namespace quillo
