#include "history/HistoryStore.h"

#include <algorithm>
#include <array>
#include <type_traits>
#include <variant>

#include "history/Sql.h"
#include "platform/SystemLog.h"
#include "posix/PlatformException.h"

namespace quillo {
namespace {

// What SQLite keeps beside the database is put into it when it is as long as this.
constexpr std::int64_t longestLog = 2'000'000;
constexpr std::int64_t logPages = 400;
// A disk that breaks each new database would be filled with broken ones.
constexpr std::size_t mostBroken = 3;
constexpr Clock::Duration timeOfBroken = std::chrono::hours(1);
// A disk may fail for a moment, as one on a network does; attempts are half a minute apart.
constexpr int mostTimesUnreadable = 10;
// An engine that moves files says so right behind its finds.
constexpr std::int64_t nearestResults = 1000;
// The local calendar may turn back by an hour.
constexpr std::chrono::hours longestDay(25);
constexpr std::size_t longestText = 1024;
constexpr std::size_t longestPath = 8192;
// Stands for a number that nobody counted.
constexpr std::int64_t notCounted = -1;

std::int64_t secondsOf(WallTime time) {
  return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

std::string_view cut(const std::string& text, std::size_t longest) {
  return std::string_view(text).substr(0, longest);
}

// Paths hold no byte 0.
std::string joined(const std::vector<std::string>& paths) {
  std::string all;
  for (const std::string& path : pathsWithRoom(paths)) {
    all += path;
    all += '\0';
  }
  return all;
}

PlatformException refusal(const std::string& reason) {
  return {PlatformException::Kind::notPermitted, "HistoryException", reason};
}

}  // namespace

std::vector<std::string> pathsWithRoom(const std::vector<std::string>& paths) {
  std::vector<std::string> kept;
  std::size_t size = 0;
  for (const std::string& path : paths) {
    if (size + path.size() < longestPath) {
      kept.push_back(path);
      size += path.size() + 1;
    }
  }
  return kept;
}

struct HistoryStore::Open {
  Open(const std::string& path, const AbandonedTests& given)
      : sql(path, SqlConnection::Access::write), tests(given) {}

  void enter(const HistoryResult& result);
  void enter(const LaterOutcome& outcome);
  void enter(const UnnamedFiles& files);
  void enter(const ScanRun& run);
  void add(CalendarDay day, const std::string& folder, const ScannedAmount& amount);
  std::int64_t bytesUsed();

  // The result that counts the files without names of a day.
  struct UnnamedRow {
    CalendarDay day = 0;
    std::int64_t id = 0;
    std::uint64_t files = 0;
  };
  UnnamedRow unnamedRowOf(WallTime time);

  SqlConnection sql;
  const AbandonedTests& tests;
  HistoryFile::Identity identity;
  UnnamedRow unnamed;
  std::map<std::string_view, SqlStatement> statements;

  // The statement of that text, which is a constant, prepared once.
  SqlStatement& statement(std::string_view text) {
    auto found = statements.find(text);
    if (found == statements.end()) {
      found = statements.emplace(text, sql.prepare(text)).first;
    }
    return found->second.begin();
  }
};

void HistoryStore::Open::enter(const HistoryResult& result) {
  SqlStatement& insert = statement(
      "INSERT INTO results(time, kind, outcome, source, run, path, says, detail) "
      "VALUES(?, ?, ?, ?, ?, ?, ?, ?)");
  // The agent may be later than a test waits.
  const bool isTests = result.kind == HistoryResult::Kind::found && tests.have(result.path);
  const auto outcome = isTests ? HistoryResult::Outcome::selfTest : result.outcome;
  insert.with(secondsOf(result.time))
      .with(static_cast<std::int64_t>(result.kind))
      .with(static_cast<std::int64_t>(outcome))
      .with(static_cast<std::int64_t>(result.source));
  result.run != 0 ? insert.with(result.run) : insert.withNothing();
  insert.with(cut(result.path, longestPath))
      .with(cut(result.says, longestText))
      .with(cut(result.detail, longestPath))
      .run();
}

void HistoryStore::Open::enter(const LaterOutcome& outcome) {
  if (outcome.outcome == HistoryResult::Outcome::selfTest) {
    // However often it was found, and whatever was done about it, which still stands there.
    statement(
        "UPDATE results SET outcome = ? WHERE id > (SELECT max(id) FROM results) - ? AND kind = 0 "
        "AND path = ?")
        .with(static_cast<std::int64_t>(outcome.outcome))
        .with(nearestResults)
        .with(cut(outcome.path, longestPath))
        .run();
    return;
  }
  statement(
      "UPDATE results SET outcome = ?, detail = ? WHERE id = (SELECT id FROM results "
      "WHERE id > (SELECT max(id) FROM results) - ? AND kind = 0 AND outcome IN (0, 1, 4) AND path "
      "= ? "
      "ORDER BY id DESC LIMIT 1)")
      .with(static_cast<std::int64_t>(outcome.outcome))
      .with(cut(outcome.detail, longestPath))
      .with(nearestResults)
      .with(cut(outcome.path, longestPath))
      .run();
}

HistoryStore::Open::UnnamedRow HistoryStore::Open::unnamedRowOf(WallTime time) {
  UnnamedRow row;
  row.day = calendarDayOf(time);
  SqlStatement& last = statement(
      "SELECT id, time, CAST(detail AS INTEGER) FROM results WHERE kind = 1 AND time >= ? AND "
      "length(path) = 0 ORDER BY time DESC LIMIT 1");
  last.with(secondsOf(time - longestDay));
  if (last.step() && calendarDayOf(WallTime(std::chrono::seconds(last.number(1)))) == row.day) {
    row.id = last.number(0);
    row.files = static_cast<std::uint64_t>(last.number(2));
  }
  last.begin();
  return row;
}

// One that begins anew to count, as an agent does that was started again, lowers nothing.
void HistoryStore::Open::enter(const UnnamedFiles& files) {
  if (unnamed.day != calendarDayOf(files.time)) {
    unnamed = unnamedRowOf(files.time);
  }
  if (unnamed.id != 0 && files.files <= unnamed.files) {
    return;
  }
  unnamed.files = files.files;
  const std::string count = std::to_string(files.files);
  statement("UPDATE results SET detail = ? WHERE id = ? AND length(path) = 0")
      .with(count)
      .with(unnamed.id)
      .run();
  if (sql.changes() == 0) {
    HistoryResult result;
    result.time = files.time;
    result.kind = HistoryResult::Kind::notScanned;
    result.detail = count;
    enter(result);
    unnamed.id = sql.lastId();
  }
}

void HistoryStore::Open::enter(const ScanRun& run) {
  SqlStatement& insert = statement(
      "INSERT INTO runs(name, source, started, ended, paths, clean, found, notScanned, stopped) "
      "VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT(name) DO UPDATE SET ended = excluded.ended, "
      "clean = excluded.clean, found = excluded.found, notScanned = excluded.notScanned, "
      "stopped = excluded.stopped");
  insert.with(run.id).with(static_cast<std::int64_t>(run.source)).with(secondsOf(run.started));
  run.ended ? insert.with(secondsOf(*run.ended)) : insert.withNothing();
  const std::string paths = joined(run.paths);
  insert.with(paths)
      .with(run.clean ? static_cast<std::int64_t>(*run.clean) : notCounted)
      .with(static_cast<std::int64_t>(run.found))
      .with(static_cast<std::int64_t>(run.notScanned))
      .with(static_cast<std::int64_t>(run.end))
      .run();
}

void HistoryStore::Open::add(CalendarDay day, const std::string& folder,
                             const ScannedAmount& amount) {
  statement(
      "INSERT INTO scanned(day, folder, files, bytes) VALUES(?, ?, ?, ?) ON CONFLICT(day, folder) "
      "DO UPDATE SET files = files + excluded.files, bytes = bytes + excluded.bytes")
      .with(std::int64_t{day})
      .with(folder)
      .with(static_cast<std::int64_t>(amount.files))
      .with(static_cast<std::int64_t>(amount.bytes))
      .run();
}

std::int64_t HistoryStore::Open::bytesUsed() {
  const std::int64_t pages = sql.number("PRAGMA page_count") - sql.number("PRAGMA freelist_count");
  return pages * sql.number("PRAGMA page_size");
}

HistoryStore::HistoryStore(std::string folder, Clock& clock, SystemLog& log, HistoryLimits limits)
    : file_(folder), tests_(std::move(folder)), clock_(clock), log_(log), limits_(limits) {}

HistoryStore::~HistoryStore() = default;

void HistoryStore::releaseMemory() const {
  if (open_) {
    open_->sql.releaseMemory();
  }
}

void HistoryStore::close() { open_.reset(); }

void HistoryStore::write(const HistoryBatch& batch) {
  std::optional<HistoryFile::Identity> used;
  try {
    writeNow(batch);
    timesUnreadable_ = 0;
    return;
  } catch (const SqlFailure& failure) {
    if (open_) {
      used = open_->identity;
    }
    close();
    const bool isLost =
        failure.isDamage() || (failure.isUnreadable() && ++timesUnreadable_ >= mostTimesUnreadable);
    if (!isLost) {
      throw;
    }
    // Another program of its user may have set it aside already, and begun a new one.
    if (!used || used == file_.identity()) {
      setAside(failure.reason());
    }
    timesUnreadable_ = 0;
  } catch (...) {
    close();
    throw;
  }
  // Into the new one.
  writeNow(batch);
}

void HistoryStore::writeNow(const HistoryBatch& batch) {
  // Its user may have deleted it, and another program of his may have set it aside.
  if (open_ && file_.identity() != open_->identity) {
    close();
  }
  if (!open_) {
    openIt();
  }
  SqlTransaction whole(open_->sql, SqlTransaction::Kind::writing);
  for (const HistoryChange& change : batch.changes) {
    std::visit([this](const auto& entry) { open_->enter(entry); }, change);
  }
  for (const auto& [place, amount] : batch.scanned) {
    open_->add(place.first, place.second, amount);
  }
  prune();
  whole.keep();
}

void HistoryStore::openIt() {
  if (const std::string reason = file_.distrustOfFolder(); !reason.empty()) {
    throw refusal(reason);
  }
  const std::string distrust = file_.distrust();
  if (!distrust.empty()) {
    setAside(distrust);
  } else if (!file_.identity() && file_.hasRemains()) {
    setAside(file_.path() + " is gone, and what lay beside it is not");
  }
  file_.make();
  auto made = std::make_unique<Open>(file_.path(), tests_);
  made->identity = file_.identity().value_or(HistoryFile::Identity{});
  HistoryFile::Contents contents = HistoryFile::contentsOf(made->sql);
  if (contents == HistoryFile::Contents::foreign) {
    made.reset();
    setAside(file_.path() + " is no history of this program");
    file_.make();
    made = std::make_unique<Open>(file_.path(), tests_);
    made->identity = file_.identity().value_or(HistoryFile::Identity{});
    contents = HistoryFile::contentsOf(made->sql);
  }
  if (contents == HistoryFile::Contents::newer) {
    throw refusal(file_.path() + " was written by a newer version of this program");
  }
  // A process that ends loses nothing of this; a machine that does, the last seconds at most.
  made->sql.run("PRAGMA synchronous=NORMAL");
  made->sql.run("PRAGMA journal_size_limit=" + std::to_string(longestLog));
  made->sql.run("PRAGMA wal_autocheckpoint=" + std::to_string(logPages));
  if (contents == HistoryFile::Contents::empty) {
    HistoryFile::makeTables(made->sql);
  }
  open_ = std::move(made);
}

void HistoryStore::setAside(const std::string& reason) {
  const Clock::Duration now = clock_.now();
  while (!setAsideAt_.empty() && now - setAsideAt_.front() >= timeOfBroken) {
    setAsideAt_.pop_front();
  }
  if (setAsideAt_.size() >= mostBroken) {
    throw refusal(reason + ", again and again within an hour");
  }
  const std::string name = file_.setAside(calendarDayOf(clock_.wallTime()));
  setAsideAt_.push_back(now);
  log_.log("The history was broken and has been set aside as " + name +
           "; a new one begins, and your folders are guarded as before. Reason: " + reason);
}

// A few rows at a time, by their order: what that costs depends on what comes in alone. Only from
// the older end, also where the clock was wrong for a while: no gap is left between rows.
void HistoryStore::prune() {
  deleteTooOld();
  const std::int64_t most = limits_.bytes - 2 * longestLog;
  while (open_->bytesUsed() > most && deleteOldest()) {
  }
}

void HistoryStore::deleteTooOld() {
  const WallTime oldest = clock_.wallTime() - limits_.age;
  open_
      ->statement(
          "DELETE FROM results WHERE id < (SELECT coalesce((SELECT id FROM results WHERE "
          "time >= ? AND id < least + 500 ORDER BY id LIMIT 1), least + 500) "
          "FROM (SELECT min(id) AS least FROM results))")
      .with(secondsOf(oldest))
      .run();
  open_
      ->statement(
          "DELETE FROM runs WHERE id < (SELECT coalesce((SELECT id FROM runs WHERE "
          "started >= ? AND id < least + 500 ORDER BY id LIMIT 1), least + 500) "
          "FROM (SELECT min(id) AS least FROM runs))")
      .with(secondsOf(oldest))
      .run();
  open_
      ->statement(
          "DELETE FROM scanned WHERE (day, folder) IN "
          "(SELECT day, folder FROM scanned WHERE day < ? ORDER BY day, folder LIMIT 500)")
      .with(std::int64_t{calendarDayOf(oldest)})
      .run();
}

// Of that table whose oldest row is the oldest of all.
bool HistoryStore::deleteOldest() {
  struct Table {
    std::string_view oldest;  // its day
    std::string_view remove;
  };
  static constexpr std::array<Table, 3> all = {
      {{"SELECT time FROM results ORDER BY id LIMIT 1",
        "DELETE FROM results WHERE id < (SELECT min(id) FROM results) + 200"},
       {"SELECT started FROM runs ORDER BY id LIMIT 1",
        "DELETE FROM runs WHERE id < (SELECT min(id) FROM runs) + 200"},
       {"SELECT CAST(strftime('%s', printf('%04d-%02d-%02d', day / 10000, day / 100 % 100, "
        "day % 100)) AS INTEGER) FROM scanned ORDER BY day LIMIT 1",
        "DELETE FROM scanned WHERE (day, folder) IN "
        "(SELECT day, folder FROM scanned ORDER BY day, folder LIMIT 200)"}}};
  const Table* first = nullptr;
  std::int64_t firstTime = 0;
  for (const Table& table : all) {
    SqlStatement& oldest = open_->statement(table.oldest);
    const bool hasAny = oldest.step();
    const std::int64_t time = hasAny ? oldest.number(0) : 0;
    oldest.begin();
    if (hasAny && (!first || time < firstTime)) {
      first = &table;
      firstTime = time;
    }
  }
  if (!first) {
    return false;
  }
  open_->statement(first->remove).run();
  return open_->sql.changes() > 0;
}

}  // namespace quillo
