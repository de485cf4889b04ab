#pragma once

#include "clamav/VerdictChannel.h"
#include "posix/Clock.h"
#include "tools/clamdscan/DescriptorScan.h"

namespace quillo::wrapper {

class Report;

// Says on the channel how far the scan has come, where whoever started the program asked for it: at
// most a few times a second, so that it costs nothing beside the scanning, but at once when a pause
// begins or ends. One thread.
class Progress {
 public:
  static constexpr Clock::Duration shortestBetween = std::chrono::milliseconds(250);

  Progress(Report& report, Clock& clock) : report_(report), clock_(clock) {}

  // Takes in a file that was judged, and says so when it is time.
  void judged(const Job& job);
  // To be called before a wait: says what has not been said yet, if it is time.
  void beforeWaiting(bool holds);
  // Says what has not been said yet.
  void end();

 private:
  void say();

  Report& report_;
  Clock& clock_;
  Clock::Duration said_{};
  std::uint64_t passed_ = 0;  // clean files up to the one judged last
  ScanProgress now_;
  ScanProgress last_;
};

}  // namespace quillo::wrapper
