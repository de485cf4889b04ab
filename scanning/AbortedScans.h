#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "posix/Mutex.h"

namespace quillo {

class PipelineObserver;
class SystemLog;

// Counts what was left unscanned because the user aborted the scans, and logs it in one line, once
// every run that the abort found under way has ended and it is known which of its files it had
// judged. A run that begins while scanners are being ended may be ended with them, and counts too.
// Any thread.
class AbortedScans {
 public:
  using Paths = std::vector<std::string>;

  // `observer` hears of each file; it may be null.
  AbortedScans(SystemLog& log, PipelineObserver* observer) : log_(log), observer_(observer) {}

  // Stands for a run of the engine until end(), or for the length of a scope. If the scans were
  // aborted meanwhile, `unjudged` is asked at its end, on that thread, for the files without a
  // verdict. `scans` may be null.
  class Run {
   public:
    Run(AbortedScans* scans, std::function<Paths()> unjudged);
    ~Run() { end(); }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    // Returns whether the scans were aborted meanwhile: an abort that begins later does not concern
    // it. Returns false when it has ended before.
    bool end();

   private:
    AbortedScans* scans_;
    const std::function<Paths()> unjudged_;
  };

  // Aborts: takes what was dropped out of the queue, and ends the running scanners by
  // `endScanners`. What that throws goes on to the caller.
  void abort(const Paths& dropped, const std::function<void()>& endScanners);

 private:
  struct Abort {
    std::size_t awaited = 1;  // whoever has not reported its files yet: runs, and the queue
    std::size_t files = 0;
  };

  // From the one to the other, runs that begin concern the abort as well.
  void open(const std::shared_ptr<Abort>& abort);
  void close(const std::shared_ptr<Abort>& abort);
  std::shared_ptr<Abort> take(const Run& run);
  void report(Abort& abort, const Paths& files);

  // Constant after construction.
  SystemLog& log_;
  PipelineObserver* const observer_;

  Mutex lock_;
  // The runs under way, each with the first abort that found it so.
  std::map<const Run*, std::shared_ptr<Abort>> runs_ QUILLO_GUARDED_BY(lock_);
  // Those of which scanners are being ended, the earliest first.
  std::vector<std::shared_ptr<Abort>> open_ QUILLO_GUARDED_BY(lock_);
};

}  // namespace quillo
