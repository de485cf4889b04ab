#include "watchers/CatchUp.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <exception>
#include <utility>

#include "platform/BackgroundWork.h"
#include "platform/Folders.h"
#include "platform/SystemLog.h"
#include "posix/ThreadStarter.h"
#include "settings/TypedPreferences.h"
#include "watchers/ChangedFiles.h"

namespace quillo {
namespace {

using std::chrono::seconds;

// The kernel's own clock for files ticks in milliseconds, and that of FAT in steps of two seconds.
constexpr seconds margin(5);
// What was told shortly before the agent ended can have waited to be scanned.
constexpr seconds marginAtStart(120);
constexpr seconds betweenKeeping(60);
// Between two looks, and at least as long as the one before took.
constexpr seconds shortestRest(10);
// Handed on together, so that a thread that has to give way seldom holds what others wait for.
constexpr std::size_t batchSize = 100;

std::string inWords(std::chrono::system_clock::time_point time) {
  const std::time_t moment = std::chrono::system_clock::to_time_t(time);
  std::tm local = {};
  char words[32] = "";
  if (localtime_r(&moment, &local)) {
    std::strftime(words, sizeof(words), "%Y-%m-%d %H:%M:%S", &local);
  }
  return words;
}

std::string counted(std::uint64_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

bool holdsMark(std::string_view chunk) {
  return chunk.starts_with('\n') || chunk.find("\n\n") != std::string_view::npos;
}

CatchUp::CatchUp(WatcherOwner& owner, const WatcherServices& services)
    : owner_(owner),
      services_(services),
      lastWatched_(services.folders.stateFolder()),
      lock_(services.clock),
      filter_(owner, services.trashFolders) {}

CatchUp::~CatchUp() {
  lock_.lock();
  end_ = End::postponed;
  isWatching_ = false;
  lock_.signal();
  while (hasThread_) {
    lock_.wait();
  }
  lock_.unlock();
}

CatchUp::Moment CatchUp::then() const {
  return {services_.clock.now(), services_.clock.wallTime()};
}

// By the clock as it is set now: files that were saved since bear its times.
CatchUp::Time CatchUp::wallTimeOf(const Moment& moment) const {
  const auto passed =
      std::chrono::duration_cast<Time::duration>(services_.clock.now() - moment.now);
  return std::min(moment.wall, services_.clock.wallTime() - passed);
}

CatchUp::Moment CatchUp::earlier(const Moment& a, const Moment& b) const {
  return wallTimeOf(b) < wallTimeOf(a) ? b : a;
}

void CatchUp::owe(const Moment& since) { owed_ = owed_ ? earlier(*owed_, since) : since; }

void CatchUp::watchingBegins() {
  const Moment now = then();
  std::optional<Moment> since;
  if (!services_.preferences.value(key::quilloCatchUp)) {
    lastWatched_.forget();
  } else {
    std::string problem;
    if (const auto last = lastWatched_.read(now.wall, problem)) {
      const Time from = *last - marginAtStart;
      since = Moment{now.now - (now.wall - from), from};
    } else {
      services_.systemLog.log(
          "When files were watched last is not known, so what was saved since is not looked for: " +
          problem);
    }
  }
  lock_.lock();
  isWanted_ = true;
  known_ = now;
  scanned_ = scanned_ ? scanned_ : now;
  if (since) {
    owe(*since);
  }
  lock_.unlock();
  keptAt_.reset();
}

void CatchUp::runBegins() {
  lastChunk_ = then();
  hasSpoken_ = false;
}

// What stands in this chunk was written after the one before it was read, and the helper looks that
// nothing waits at the moment at which it writes a mark. It was not read then: this process can
// have been stopped meanwhile.
void CatchUp::heard(std::string_view chunk, const Moment& came) {
  const bool isMark = holdsMark(chunk);
  if (isMark && lastChunk_) {
    lock_.lock();
    known_ = *lastChunk_;
    lock_.unlock();
  }
  lastChunk_ = came;
  if (!hasSpoken_ && (isMark || chunk.starts_with('/') || chunk.starts_with('\\'))) {
    hasSpoken_ = true;
    watched();
  }
  if (isMark && (!keptAt_ || came.now - *keptAt_ >= betweenKeeping)) {
    keptAt_ = came.now;
    keep();
  }
}

void CatchUp::watched() {
  lock_.lock();
  // A last word of a helper that was ended begins nothing.
  isWatching_ = isWanted_;
  const bool isNeeded = isWatching_ && owed_ && !hasThread_;
  hasThread_ |= isNeeded;
  lock_.unlock();
  if (isNeeded) {
    startThread();
  }
}

void CatchUp::startThread() {
  try {
    services_.threads.detachNewThread("CatchUp", [this] { run(); });
  } catch (const std::exception& failure) {
    services_.systemLog.log(std::string("What was missed cannot be looked for: ") + failure.what());
    lock_.lock();
    hasThread_ = false;
    lock_.unlock();
  }
}

void CatchUp::runEnded() {
  lock_.lock();
  isWatching_ = false;
  owe(known_.value_or(then()));
  lock_.unlock();
}

void CatchUp::watchingEnds() {
  lock_.lock();
  isWanted_ = false;
  isWatching_ = false;
  end_ = End::postponed;
  lock_.signal();
  lock_.unlock();
  keep();
}

void CatchUp::abort() {
  lock_.lock();
  if (running_) {
    end_ = End::aborted;
  }
  owed_.reset();
  lock_.signal();
  lock_.unlock();
}

void CatchUp::run() {
  if (const std::string refused = services_.backgroundWork.giveWay(); !refused.empty()) {
    services_.systemLog.log(refused);
  }
  Moment since;
  while (takeOwed(since)) {
    const Clock::Duration began = services_.clock.now();
    try {
      look(since);
    } catch (const std::exception& failure) {
      services_.systemLog.log(std::string("What was missed could not be looked for: ") +
                              failure.what());
    }
    settle(since, began);
  }
}

// Waits until the next look may begin. Returns false when there is none, and the thread is to end.
bool CatchUp::takeOwed(Moment& since) {
  lock_.lock();
  while (isWatching_ && owed_ && services_.clock.now() < restUntil_) {
    lock_.waitFor(restUntil_ - services_.clock.now());
  }
  const bool isThere = isWatching_ && owed_.has_value();
  if (isThere) {
    since = *owed_;
    running_ = std::exchange(owed_, std::nullopt);
    end_ = End::none;
  } else {
    hasThread_ = false;
    lock_.signal();
  }
  lock_.unlock();
  return isThere;
}

void CatchUp::settle(const Moment& since, Clock::Duration began) {
  const Clock::Duration now = services_.clock.now();
  lock_.lock();
  running_.reset();
  if (end_ == End::postponed) {
    owe(since);
  } else if (end_ == End::none) {
    // Not yet what it handed on.
    scanned_ = scanned_ ? earlier(*scanned_, since) : since;
    holdingStillUntil_ = now + marginAtStart;
  }
  restUntil_ = now + std::max<Clock::Duration>(now - began, shortestRest);
  lock_.unlock();
  keep();
}

void CatchUp::look(const Moment& moment) {
  filter_.setQuarantineFolder(services_.preferences.value(key::quarantineFolder).value_or(""));
  filter_.refresh();
  Look look;
  look.since = wallTimeOf(moment) - margin;
  look.places = *owner_.getWatchedFolderList();
  std::string places;
  for (const std::string& place : look.places) {
    places += (places.empty() ? "" : ", ") + place;
  }
  services_.systemLog.log("Looking for files that changed since " + inWords(look.since) +
                          " while nobody watched: " + places);
  lookThrough(look);
}

void CatchUp::lookThrough(Look& look) {
  const Clock::Duration began = services_.clock.now();
  const auto flags = owner_.getCheckSubDirs();
  ChangedFiles files(look.since, {[&](const std::string& path) {
                                    look.batch.push_back(path);
                                    if (look.batch.size() == batchSize) {
                                      handOn(look);
                                    }
                                  },
                                  [this] { return isOver(); }});
  for (const std::string& place : look.places) {
    const auto flag = flags->find(place);
    const bool withSubfolders = flag != flags->end() && flag->second;
    // Of another folder without its subfolders no file is handed on.
    if ((withSubfolders || place == "/") && !files.look(place, withSubfolders)) {
      services_.systemLog.log("What is mounted cannot be read (/proc/self/mountinfo): " + place +
                              " is not looked through");
    }
  }
  handOn(look);
  const auto took =
      std::chrono::duration_cast<std::chrono::milliseconds>(services_.clock.now() - began);
  const ChangedFiles::Count& count = files.count();
  std::string words = isOver() ? "The look for missed files was ended: " : "Missed files: ";
  words += counted(count.files, "file") + " in " + counted(count.folders, "folder") +
           " looked at, " + std::to_string(look.handedOn) + " handed on, in " +
           std::to_string(took.count()) + " ms";
  if (count.unreadable > 0) {
    words += "; " + counted(count.unreadable, "folder") + " could not be read";
  }
  End none = End::none;
  if (count.isShort && end_.compare_exchange_strong(none, End::postponed)) {
    words += " for want of descriptors or memory, so all is looked at once more";
  }
  services_.systemLog.log(words);
}

void CatchUp::handOn(Look& look) {
  if (isOver()) {
    return;
  }
  filter_.refresh();
  look.batch.erase(
      std::remove_if(look.batch.begin(), look.batch.end(),
                     [this](const std::string& path) { return !filter_.passes(path); }),
      look.batch.end());
  look.handedOn += look.batch.size();
  services_.theDispatcher.addToItemList(look.batch);
  look.batch.clear();
}

std::optional<CatchUp::Moment> CatchUp::earliestUnknown() {
  lock_.lock();
  std::optional<Moment> moment = known_;
  const bool isSettled = services_.clock.now() >= holdingStillUntil_;
  if (isSettled && !(services_.filesWait && services_.filesWait())) {
    scanned_ = known_;
  }
  for (const auto& other : {scanned_, owed_, running_}) {
    moment = moment && other ? earlier(*moment, *other) : moment;
  }
  lock_.unlock();
  return moment;
}

void CatchUp::keep() {
  if (!services_.preferences.value(key::quilloCatchUp)) {
    return;
  }
  MutexLock hold(keeping_);
  const std::optional<Moment> moment = earliestUnknown();
  if (!moment) {
    return;
  }
  const std::string problem = lastWatched_.write(wallTimeOf(*moment));
  if (!problem.empty() && !std::exchange(keepFails_, true)) {
    services_.systemLog.log("The moment up to which files were watched cannot be kept: " + problem);
  }
  keepFails_ &= !problem.empty();
}

}  // namespace quillo
