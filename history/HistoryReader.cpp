#include "history/HistoryReader.h"

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>
#include <utility>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::size_t rowsBetweenQuestions = 4096;

std::int64_t secondsOf(WallTime time) {
  return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

WallTime timeOf(std::int64_t seconds) { return WallTime(std::chrono::seconds(seconds)); }

// What stands there may be anybody's lie; a number that means nothing counts as the first.
template <typename Value>
Value valueOf(std::int64_t number, Value last) {
  return number >= 0 && number <= static_cast<std::int64_t>(last) ? static_cast<Value>(number)
                                                                  : Value{};
}

char lower(char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte; }

// Whether `wanted`, in small letters, is found in the bytes.
bool holds(std::string_view bytes, const std::string& wanted) {
  return std::search(bytes.begin(), bytes.end(), wanted.begin(), wanted.end(),
                     [](char there, char small) { return lower(there) == small; }) != bytes.end();
}

// Of files by the hashes of their paths: SQLite takes five times as long to tell paths apart.
std::uint64_t countDifferent(std::vector<std::size_t>& hashes) {
  std::sort(hashes.begin(), hashes.end());
  return static_cast<std::uint64_t>(std::unique(hashes.begin(), hashes.end()) - hashes.begin());
}

HistoryResult resultIn(const SqlStatement& row) {
  HistoryResult result;
  result.time = timeOf(row.number(1));
  result.kind = valueOf(row.number(2), HistoryResult::Kind::notScanned);
  result.outcome = valueOf(row.number(3), HistoryResult::Outcome::selfTest);
  result.source = valueOf(row.number(4), ScanSource::planned);
  result.run = row.number(5);
  result.path = row.bytes(6);
  result.says = row.bytes(7);
  result.detail = row.bytes(8);
  if (result.path.empty()) {
    result.unnamed = numberIn<std::uint64_t>(result.detail).value_or(0);
  }
  return result;
}

ScanRun runIn(const SqlStatement& row) {
  ScanRun run;
  run.clean.reset();
  run.id = row.number(0);
  run.source = valueOf(row.number(1), ScanSource::planned);
  run.started = timeOf(row.number(2));
  if (!row.isNothing(3)) {
    run.ended = timeOf(row.number(3));
  }
  for (const std::string_view path : split(row.bytes(4), '\0')) {
    if (!path.empty()) {
      run.paths.emplace_back(path);
    }
  }
  if (row.number(5) >= 0) {
    run.clean = static_cast<std::uint64_t>(row.number(5));
  }
  run.found = static_cast<std::uint64_t>(row.number(6));
  run.notScanned = static_cast<std::uint64_t>(row.number(7));
  run.end = valueOf(row.number(8), ScanRun::End::noDefinitions);
  return run;
}

}  // namespace

std::optional<std::size_t> HistorySelection::rowOf(std::int64_t id) const {
  if (!ids_) {
    const std::int64_t last = first_ + static_cast<std::int64_t>(count_) - 1;
    return id >= first_ && id <= last ? std::optional(static_cast<std::size_t>(last - id))
                                      : std::nullopt;
  }
  const auto found = std::lower_bound(ids_->begin(), ids_->end(), id, std::greater<>());
  return found != ids_->end() && *found == id
             ? std::optional(static_cast<std::size_t>(found - ids_->begin()))
             : std::nullopt;
}

HistoryReader::HistoryReader(std::string folder) : file_(std::move(folder)) {}

HistoryReader::State HistoryReader::open() {
  attempt([](const SqlConnection& sql) { sql.number("SELECT max(id) FROM results"); });
  return state_;
}

void HistoryReader::openIt() {
  const auto now = file_.identity();
  if (connection_ && now == identity_) {
    return;
  }
  connection_.reset();
  reason_.clear();
  state_ = State::missing;
  if (!now) {
    return;
  }
  reason_ = file_.distrustOfFolder();
  if (reason_.empty()) {
    reason_ = file_.distrust();
  }
  if (!reason_.empty()) {
    state_ = State::unreadable;
    return;
  }
  identity_ = *now;
  connection_.emplace(file_.path(), SqlConnection::Access::read);
  const HistoryFile::Contents contents = HistoryFile::contentsOf(*connection_);
  state_ = contents == HistoryFile::Contents::history ? State::good
           : contents == HistoryFile::Contents::empty ? State::missing
           : contents == HistoryFile::Contents::newer ? State::newer
                                                      : State::broken;
  if (state_ != State::good) {
    // Next time it may be one.
    connection_.reset();
  }
}

HistoryReader::State HistoryReader::stateAfter(const SqlFailure& failure) {
  if (failure.isUnfinished()) {
    return State::missing;
  }
  return failure.isDamage() ? State::broken : State::unreadable;
}

void HistoryReader::attempt(const std::function<void(const SqlConnection&)>& body) {
  try {
    openIt();
    if (connection_) {
      body(*connection_);
    }
  } catch (const SqlFailure& failure) {
    connection_.reset();
    reason_ = failure.reason();
    state_ = stateAfter(failure);
  }
}

HistorySelection HistoryReader::select(const HistoryFilter& filter,
                                       const std::function<bool()>& goesOn) {
  HistorySelection selection;
  if (filter.isEmpty()) {
    attempt([&selection](const SqlConnection& sql) {
      SqlStatement ends =
          sql.prepare("SELECT (SELECT min(id) FROM results), (SELECT max(id) FROM results)");
      if (ends.step() && !ends.isNothing(0)) {
        selection = HistorySelection(ends.number(0), ends.number(1));
      }
    });
    return selection;
  }
  // What stands in the index alone is read from it alone.
  const bool readsText = !filter.text.empty() || !filter.folder.empty();
  std::string query = readsText ? "SELECT id, path, says FROM results" : "SELECT id FROM results";
  query += " WHERE time >= ?";
  query += filter.kind ? " AND kind = ?" : "";
  query += filter.run != 0 ? " AND run = ?" : "";
  query += readsText ? " ORDER BY id DESC" : "";
  std::string wanted = filter.text;
  std::transform(wanted.begin(), wanted.end(), wanted.begin(), lower);
  attempt([&](const SqlConnection& sql) {
    SqlStatement all = sql.prepare(query);
    all.begin().with(filter.since ? secondsOf(*filter.since) : INT64_MIN);
    if (filter.kind) {
      all.with(static_cast<std::int64_t>(*filter.kind));
    }
    if (filter.run != 0) {
      all.with(filter.run);
    }
    std::vector<std::int64_t> ids;
    for (std::size_t seen = 1; all.step(); ++seen) {
      if (goesOn && seen % rowsBetweenQuestions == 0 && !goesOn()) {
        return;
      }
      const bool isIn =
          !readsText ||
          ((filter.folder.empty() || liesBelow(all.bytes(1), filter.folder)) &&
           (wanted.empty() || holds(all.bytes(1), wanted) || holds(all.bytes(2), wanted)));
      if (isIn) {
        ids.push_back(all.number(0));
      }
    }
    if (!readsText) {
      std::sort(ids.rbegin(), ids.rend());
    }
    selection = HistorySelection(std::move(ids));
  });
  return selection;
}

std::vector<HistoryResult> HistoryReader::rows(const HistorySelection& selection, std::size_t row,
                                               std::size_t count) {
  row = std::min(row, selection.count());
  std::vector<HistoryResult> results(std::min(count, selection.count() - row));
  attempt([&](const SqlConnection& sql) {
    const SqlTransaction whole(sql, SqlTransaction::Kind::reading);
    SqlStatement one = sql.prepare(
        "SELECT id, time, kind, outcome, source, run, path, says, detail FROM results WHERE id = "
        "?");
    for (std::size_t at = 0; at < results.size(); ++at) {
      if (one.begin().with(selection.id(row + at)).step()) {
        results[at] = resultIn(one);
      }
    }
  });
  return results;
}

HistoryTotals HistoryReader::totalsSince(WallTime since) {
  HistoryTotals totals;
  attempt([&](const SqlConnection& sql) {
    SqlStatement all = sql.prepare(
        "SELECT path, CASE WHEN length(path) = 0 THEN max(CAST(detail AS INTEGER), 0) ELSE 0 END "
        "FROM results WHERE kind = ? AND time >= ? AND outcome <> ?");
    const auto countOf = [&](HistoryResult::Kind kind) {
      all.begin()
          .with(static_cast<std::int64_t>(kind))
          .with(secondsOf(since))
          .with(static_cast<std::int64_t>(HistoryResult::Outcome::selfTest));
      std::uint64_t unnamed = 0;
      std::vector<std::size_t> files;
      while (all.step()) {
        if (all.bytes(0).empty()) {
          unnamed += static_cast<std::uint64_t>(all.number(1));
        } else {
          files.push_back(std::hash<std::string_view>()(all.bytes(0)));
        }
      }
      return unnamed + countDifferent(files);
    };
    totals.found = countOf(HistoryResult::Kind::found);
    totals.notScanned = countOf(HistoryResult::Kind::notScanned);
  });
  return totals;
}

std::optional<WallTime> HistoryReader::beginning() {
  std::optional<WallTime> first;
  attempt([&](const SqlConnection& sql) {
    SqlStatement oldest = sql.prepare(
        "SELECT min(at) FROM (SELECT (SELECT time FROM results ORDER BY id LIMIT 1) AS at "
        "UNION ALL SELECT (SELECT started FROM runs ORDER BY id LIMIT 1) "
        "UNION ALL SELECT (SELECT CAST(strftime('%s', printf('%04d-%02d-%02d', day / 10000, "
        "day / 100 % 100, day % 100), 'utc') AS INTEGER) FROM scanned ORDER BY day LIMIT 1))");
    if (oldest.step() && !oldest.isNothing(0)) {
      first = timeOf(oldest.number(0));
    }
  });
  return first;
}

std::vector<BusyFolder> HistoryReader::foldersOf(std::string_view sql, CalendarDay since,
                                                 std::size_t most) {
  std::vector<BusyFolder> folders;
  attempt([&](const SqlConnection& connection) {
    SqlStatement all = connection.prepare(sql);
    all.begin().with(std::int64_t{since}).with(static_cast<std::int64_t>(most));
    while (all.step()) {
      folders.push_back(
          {static_cast<CalendarDay>(all.number(0)),
           std::string(all.bytes(1)),
           {static_cast<std::uint64_t>(all.number(2)), static_cast<std::uint64_t>(all.number(3))}});
    }
  });
  return folders;
}

std::vector<BusyFolder> HistoryReader::busyFolders(CalendarDay since, std::size_t most) {
  return foldersOf(
      "SELECT day, folder, files, bytes FROM scanned WHERE day >= ? "
      "ORDER BY day DESC, bytes DESC, files DESC, folder LIMIT ?",
      since, most);
}

std::vector<BusyFolder> HistoryReader::busiestFolders(CalendarDay since, std::size_t most) {
  return foldersOf(
      "SELECT 0, folder, sum(files) AS files, sum(bytes) AS bytes FROM scanned "
      "WHERE day >= ? GROUP BY folder ORDER BY 4 DESC, 3 DESC, folder LIMIT ?",
      since, most);
}

HistorySelection HistoryReader::selectRuns(std::optional<WallTime> since) {
  HistorySelection selection;
  attempt([&](const SqlConnection& sql) {
    // From the newer end, where those that are wanted stand.
    SqlStatement ends = sql.prepare(
        "SELECT coalesce((SELECT id FROM runs WHERE started < ? ORDER BY id DESC LIMIT 1) + 1, "
        "(SELECT min(id) FROM runs)), (SELECT max(id) FROM runs)");
    ends.begin().with(since ? secondsOf(*since) : INT64_MIN);
    if (ends.step() && !ends.isNothing(1)) {
      selection = HistorySelection(ends.number(0), ends.number(1));
    }
  });
  return selection;
}

std::vector<ScanRun> HistoryReader::runs(const HistorySelection& selection, std::size_t row,
                                         std::size_t count) {
  row = std::min(row, selection.count());
  std::vector<ScanRun> runs(std::min(count, selection.count() - row));
  attempt([&](const SqlConnection& sql) {
    const SqlTransaction whole(sql, SqlTransaction::Kind::reading);
    SqlStatement one = sql.prepare(
        "SELECT name, source, started, ended, paths, clean, found, notScanned, stopped FROM runs "
        "WHERE id = ?");
    for (std::size_t at = 0; at < runs.size(); ++at) {
      if (one.begin().with(selection.id(row + at)).step()) {
        runs[at] = runIn(one);
      }
    }
  });
  return runs;
}

}  // namespace quillo
