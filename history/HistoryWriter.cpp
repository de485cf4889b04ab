#include "history/HistoryWriter.h"

#include <sys/stat.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <utility>
#include <variant>

#include "platform/SystemLog.h"
#include "posix/PlatformException.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

// Together in one transaction, so that nobody waits long for it and little is kept twice.
constexpr std::size_t changesTogether = 2'000;

// Of the file itself; what is gone by now counts as empty.
std::uint64_t sizeOf(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)
             ? static_cast<std::uint64_t>(status.st_size)
             : 0;
}

bool isFind(const HistoryChange& change) {
  const auto* const result = std::get_if<HistoryResult>(&change);
  return !result || result->kind == HistoryResult::Kind::found;
}

}  // namespace

HistoryWriter::HistoryWriter(HistoryWriterServices services)
    : services_(std::move(services)),
      store_(services_.folder, services_.clock, services_.systemLog, services_.limits),
      wake_(services_.clock),
      ended_(services_.clock) {}

void HistoryWriter::arrived() {
  if (waiting_.empty() && !hasUnwritten_) {
    dueAt_ = services_.clock.now() + delay;
    wake_.signal();
  }
}

// Enters at once what would soon be too much to keep.
void HistoryWriter::hasArrived(std::size_t waiting, std::size_t most) {
  if (waiting == most / 4 && !hasUnwritten_) {
    dueAt_ = services_.clock.now();
    wake_.signal();
  }
}

void HistoryWriter::add(HistoryChange change) {
  wake_.lock();
  arrived();
  if (waiting_.changes.size() < mostChanges) {
    waiting_.changes.push_back(std::move(change));
    hasArrived(waiting_.changes.size(), mostChanges);
  } else {
    ++waiting_.givenUp;
  }
  wake_.unlock();
}

void HistoryWriter::addClean(const std::string& path) {
  wake_.lock();
  arrived();
  if (waiting_.clean.size() < mostNames) {
    waiting_.clean.push_back(path);
    hasArrived(waiting_.clean.size(), mostNames);
  } else {
    sumUp(countedFolderOf(path, services_.home), {1, 0});
  }
  wake_.unlock();
}

void HistoryWriter::addClean(const std::string& folder, const ScannedAmount& amount) {
  wake_.lock();
  arrived();
  sumUp(countedFolderOf(folder + (folder.ends_with('/') ? "" : "/"), services_.home), amount);
  wake_.unlock();
}

void HistoryWriter::sumUp(std::string folder, const ScannedAmount& amount) {
  const bool isRoom = waiting_.summedUp.size() < mostFolders || waiting_.summedUp.count(folder) > 0;
  ScannedAmount& sum = waiting_.summedUp[isRoom ? std::move(folder) : "/"];
  sum.files += amount.files;
  sum.bytes += amount.bytes;
}

std::string HistoryWriter::problem() {
  wake_.lock();
  std::string problem = problem_;
  wake_.unlock();
  return problem;
}

void HistoryWriter::begin(ThreadStarter& threads) {
  if (hasThread_) {
    return;
  }
  threads.detachNewThread("history", [this] { mainLoop(); });
  hasThread_ = true;
}

void HistoryWriter::mainLoop() {
  if (isTaken_.exchange(true)) {
    hasEndedNow();
    return;
  }
  const auto isEnding = [this] {
    wake_.lock();
    const bool ending = isEnding_;
    wake_.unlock();
    return ending;
  };
  // What came before the end is in the step that begins after it.
  for (bool isLast = false; !isLast;) {
    isLast = isEnding();
    step();
  }
  store_.close();
  hasEndedNow();
}

void HistoryWriter::hasEndedNow() {
  ended_.lock();
  hasEnded_ = true;
  ended_.signal();
  ended_.unlock();
}

HistoryWriter::Waiting HistoryWriter::await() {
  wake_.lock();
  while (!isEnding_) {
    if (waiting_.empty() && !hasUnwritten_) {
      wake_.wait();
      continue;
    }
    const Clock::Duration left = dueAt_ - services_.clock.now();
    if (left <= Clock::Duration::zero()) {
      break;
    }
    wake_.waitFor(left);
  }
  Waiting taken = std::exchange(waiting_, {});
  wake_.unlock();
  return taken;
}

void HistoryWriter::step() {
  takeIn(await());
  if (!batch_.empty()) {
    write();
  }
}

void HistoryWriter::takeIn(Waiting waiting) {
  const CalendarDay today = calendarDayOf(services_.clock.wallTime());
  beginDay(today);
  for (HistoryChange& change : waiting.changes) {
    if (!isLeftOut(change)) {
      batch_.changes.push_back(std::move(change));
    }
  }
  for (const std::string& path : waiting.clean) {
    count(countedFolderOf(path, services_.home), {1, sizeOf(path)}, today);
  }
  for (const auto& [folder, amount] : waiting.summedUp) {
    count(folder, amount, today);
  }
  addUnnamed();
  givenUp_ += waiting.givenUp;
  giveUpTooMany();
}

void HistoryWriter::beginDay(CalendarDay today) {
  if (today != std::exchange(today_, today)) {
    notScannedToday_.clear();
    unnamedToday_.clear();
    unnamedAdded_ = 0;
  }
}

// A machine's disk or a download would push every find out of the history.
bool HistoryWriter::isLeftOut(const HistoryChange& change) {
  const auto* const result = std::get_if<HistoryResult>(&change);
  if (!result || result->kind != HistoryResult::Kind::notScanned ||
      result->source != ScanSource::agent) {
    return false;
  }
  std::pair<std::string, std::string> file(result->path, result->says);
  if (notScannedToday_.size() < mostADay) {
    return !notScannedToday_.insert(std::move(file)).second;
  }
  if (notScannedToday_.count(file) == 0 && unnamedToday_.size() < mostUnnamed) {
    unnamedToday_.insert(std::hash<std::string>()(result->path));
  }
  return true;
}

void HistoryWriter::addUnnamed() {
  if (unnamedToday_.size() == unnamedAdded_) {
    return;
  }
  if (unnamedAdded_ == 0) {
    services_.systemLog.log("More than " + std::to_string(mostADay) +
                            " files could not be scanned today; the history counts those that "
                            "follow and does not name them.");
  }
  unnamedAdded_ = unnamedToday_.size();
  batch_.changes.emplace_back(UnnamedFiles{services_.clock.wallTime(), unnamedAdded_});
}

void HistoryWriter::count(const std::string& folder, const ScannedAmount& amount, CalendarDay day) {
  const auto place = std::pair(day, folder);
  const bool isRoom = batch_.scanned.size() < mostFolders || batch_.scanned.count(place) > 0;
  ScannedAmount& sum = batch_.scanned[isRoom ? place : std::pair(day, std::string("/"))];
  sum.files += amount.files;
  sum.bytes += amount.bytes;
}

// The oldest that could not be scanned before any find.
void HistoryWriter::giveUpTooMany() {
  std::deque<HistoryChange>& changes = batch_.changes;
  if (changes.size() <= mostChanges) {
    return;
  }
  std::size_t tooMany = changes.size() - mostChanges;
  givenUp_ += tooMany;
  const auto firstKept =
      std::stable_partition(changes.begin(), changes.end(), [&tooMany](const HistoryChange& one) {
        const bool goes = tooMany > 0 && !isFind(one);
        tooMany -= goes ? 1 : 0;
        return goes;
      });
  changes.erase(changes.begin(), firstKept + static_cast<std::ptrdiff_t>(tooMany));
}

void HistoryWriter::write() {
  std::string failure;
  std::size_t entered = 0;
  try {
    while (!batch_.empty()) {
      HistoryBatch part;
      part.scanned = batch_.scanned;
      const std::size_t many = std::min(changesTogether, batch_.changes.size());
      const auto behind = batch_.changes.begin() + static_cast<std::ptrdiff_t>(many);
      part.changes.assign(batch_.changes.begin(), behind);
      store_.write(part);
      entered += many;
      batch_.changes.erase(batch_.changes.begin(), behind);
      batch_.scanned.clear();
    }
    store_.releaseMemory();
  } catch (const std::exception& problem) {
    failure = problem.what();
  }
  logFailure(failure);
  if ((failure.empty() || entered > 0) && services_.wasWritten) {
    services_.wasWritten(entered);
  }
}

// Once for each trouble, however often it comes again before it is over.
void HistoryWriter::logFailure(const std::string& failure) {
  wake_.lock();
  const std::string before = std::exchange(problem_, failure);
  hasUnwritten_ = !failure.empty();
  if (hasUnwritten_) {
    dueAt_ = services_.clock.now() + betweenAttempts;
  } else if (!waiting_.empty()) {
    dueAt_ = services_.clock.now() + delay;
  }
  wake_.unlock();
  if (failure != before && services_.problemChanged) {
    services_.problemChanged(failure);
  }
  if (!failure.empty() && before.empty()) {
    services_.systemLog.log(
        "The history cannot be kept for now; your folders are guarded as before. Reason: " +
        failure);
  } else if (failure.empty() && !before.empty()) {
    services_.systemLog.log("The history is kept again.");
  }
  if (failure.empty() && givenUp_ > 0) {
    services_.systemLog.log("The history misses " + std::to_string(std::exchange(givenUp_, 0)) +
                            " entries, which were too many to keep.");
  }
}

bool HistoryWriter::end(Clock::Duration atMost) {
  const Clock::Duration deadline = services_.clock.now() + atMost;
  wake_.lock();
  isEnding_ = true;
  wake_.signal();
  wake_.unlock();
  if (!hasThread_) {
    return true;
  }
  // A thread that has not come to run yet will find nothing left to do.
  if (!isTaken_.exchange(true)) {
    step();
    store_.close();
    return false;
  }
  ended_.lock();
  for (;;) {
    const Clock::Duration left = deadline - services_.clock.now();
    if (hasEnded_ || left <= Clock::Duration::zero()) {
      break;
    }
    ended_.waitFor(left);
  }
  const bool hasEnded = hasEnded_;
  ended_.unlock();
  return hasEnded;
}

}  // namespace quillo
