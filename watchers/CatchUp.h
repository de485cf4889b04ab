#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "posix/Clock.h"
#include "posix/Mutex.h"
#include "watchers/LastWatched.h"
#include "watchers/PathFilter.h"

namespace quillo {

// Returns true when a chunk of the helper's output holds the empty line by which it says that it
// watches and that all that happened is told. Pure; any thread.
bool holdsMark(std::string_view chunk);

// Finds the files that changed while nobody watched: it knows the moment up to which everything is
// known, and has the watched folders looked through for what changed since, on a thread of its own
// that gives way to everything else, as soon as they are watched again. What it finds goes the way
// of what the helper reports.
class CatchUp {
 public:
  CatchUp(WatcherOwner& owner, const WatcherServices& services);
  // Waits for a look under way.
  ~CatchUp();
  CatchUp(const CatchUp&) = delete;
  CatchUp& operator=(const CatchUp&) = delete;

  // What the watcher's thread tells. Watching begins, which is caught up with what was saved since
  // it last ended if the preferences say so; the helper is launched; it printed a chunk, all of
  // whose lines have been judged, `came` being then(); it ended unbidden.
  void watchingBegins();
  void runBegins();
  struct Moment {
    Clock::Duration now{};  // of the Clock, which nobody sets
    std::chrono::system_clock::time_point wall;
  };
  Moment then() const;
  void heard(std::string_view chunk, const Moment& came);
  void runEnded();

  // Ends a look at once; what it had not come to is looked for when watching begins again. Keeps
  // the moment, for the next agent. Any thread.
  void watchingEnds();
  // Ends a look at once and for good. Any thread.
  void abort();

 private:
  using Time = std::chrono::system_clock::time_point;
  enum class End { none, postponed, aborted };
  struct Look {
    Time since;
    std::vector<std::string> places;
    std::uint64_t handedOn = 0;
    std::vector<std::string> batch;
  };

  Time wallTimeOf(const Moment& moment) const;
  void owe(const Moment& since) QUILLO_REQUIRES(lock_);
  Moment earlier(const Moment& a, const Moment& b) const;
  void watched();
  void startThread();
  void run();
  bool takeOwed(Moment& since);
  void settle(const Moment& since, Clock::Duration began);
  bool isOver() const { return end_ != End::none; }
  void look(const Moment& moment);
  void lookThrough(Look& look);
  void handOn(Look& look);
  std::optional<Moment> earliestUnknown();
  void keep();

  // Constant after construction.
  WatcherOwner& owner_;
  const WatcherServices& services_;
  const LastWatched lastWatched_;

  // Own synchronisation.
  std::atomic<End> end_{End::none};

  Mutex keeping_;
  bool keepFails_ QUILLO_GUARDED_BY(keeping_) = false;

  // Signalled when a look is to end, or the thread has ended.
  Condition lock_;
  bool isWanted_ QUILLO_GUARDED_BY(lock_) = false;
  bool isWatching_ QUILLO_GUARDED_BY(lock_) = false;
  bool hasThread_ QUILLO_GUARDED_BY(lock_) = false;
  // Up to when everything is known; from when on it is not and is still to be looked for; and from
  // when on it is looked for just now.
  std::optional<Moment> known_ QUILLO_GUARDED_BY(lock_);
  std::optional<Moment> owed_ QUILLO_GUARDED_BY(lock_);
  std::optional<Moment> running_ QUILLO_GUARDED_BY(lock_);
  Clock::Duration restUntil_ QUILLO_GUARDED_BY(lock_){};
  // Up to when everything has its verdict, for the next agent; and until when what was handed on is
  // being measured.
  std::optional<Moment> scanned_ QUILLO_GUARDED_BY(lock_);
  Clock::Duration holdingStillUntil_ QUILLO_GUARDED_BY(lock_){};

  // The watcher's thread.
  std::optional<Moment> lastChunk_;
  bool hasSpoken_ = false;
  std::optional<Clock::Duration> keptAt_;
  // That of the look.
  PathFilter filter_;
};

}  // namespace quillo
