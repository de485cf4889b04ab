#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "posix/Mutex.h"

namespace quillo {

class RoadObserver;
class SystemLog;

// What was left unscanned because its user aborted the scans: told in one line of the log, once
// every run that the abort found under way has ended and it is known which of its files it had
// judged. A run that begins while scanners are being ended may be ended with them, and counts too.
// Any thread.
class AbortedScans {
 public:
  using Paths = std::vector<std::string>;

  // `observer` is told of each file; it may be null.
  AbortedScans(SystemLog& log, RoadObserver* observer) : log_(log), observer_(observer) {}

  // Stands for a run of the engine for the length of a scope. If the scans were aborted meanwhile,
  // `unjudged` is asked at its end, on that thread, for the files without a verdict. `scans` may be
  // null.
  class Run {
   public:
    Run(AbortedScans* scans, std::function<Paths()> unjudged);
    ~Run();
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

   private:
    AbortedScans* const scans_;
    const std::function<Paths()> unjudged_;
  };

  // With what was dropped out of the queue, and how running scanners are ended; what that throws
  // goes on to the caller.
  void abort(const Paths& dropped, const std::function<void()>& endScanners);

 private:
  struct Abort {
    std::size_t awaited = 1;  // whoever has not told its files yet: runs, and the queue
    std::size_t files = 0;
  };

  // From the one to the other, runs that begin concern the abort as well.
  void open(const std::shared_ptr<Abort>& abort);
  void close(const std::shared_ptr<Abort>& abort);
  std::shared_ptr<Abort> take(const Run& run);
  void tell(Abort& abort, const Paths& files);

  // Constant after construction.
  SystemLog& log_;
  RoadObserver* const observer_;

  Mutex lock_;
  // The runs under way, each with the first abort that found it so.
  std::map<const Run*, std::shared_ptr<Abort>> runs_ QUILLO_GUARDED_BY(lock_);
  // Those of which scanners are being ended, the earliest first.
  std::vector<std::shared_ptr<Abort>> open_ QUILLO_GUARDED_BY(lock_);
};

}  // namespace quillo
