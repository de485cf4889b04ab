#pragma once

#include <optional>
#include <string>
#include <vector>

#include "benchmarks/support/SightingLog.h"

namespace bench {

// Something that watches a folder and names in a log what it sees there: the agent, or what else
// one might use. One thread.
class Watcher {
 public:
  virtual ~Watcher() = default;

  virtual std::string name() const = 0;
  // Starts it, and what it needs; returns before it watches. Throws std::runtime_error.
  virtual void start() = 0;
  // Ends all of that and waits for it.
  virtual void stop() = 0;

  // Its processes that run now, without the engine's daemon.
  virtual std::vector<pid_t> processes() const = 0;
  virtual std::string log() const = 0;
  virtual SightingLog::Lines lines() const = 0;
  virtual bool namesCleanFiles() const = 0;
  // After so long without a word nothing more is to come.
  virtual Seconds patience() const = 0;
};

// Writes files into `folder` until the first of them is named; returns how long after now that one
// was written, or nothing when none was named within `longest`.
std::optional<Seconds> awaitWatching(const Watcher& watcher, const std::string& folder,
                                     Seconds longest);

// What was seen of a storm.
struct Seen {
  int files = 0;
  int infected = 0;
  Seconds last{};  // when the last was named; of who names only infected files, when the work ended
};
// Follows it until all files are named, or nothing more comes.
Seen awaitStorm(const Watcher& watcher, SightingLog& log, int files);

}  // namespace bench
