#pragma once

#include <string>

namespace quillo {

// How the system is asked to favour work that nobody waits for less than everything else.
class BackgroundWork {
 public:
  virtual ~BackgroundWork() = default;
  // Has the calling thread give way, for processors and disks, to whatever else runs, until it
  // ends. Returns what the system refused, in words for the log, or "". Any thread.
  virtual std::string giveWay() = 0;
};

}  // namespace quillo
