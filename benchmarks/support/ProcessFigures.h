#pragma once

#include <sys/types.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "benchmarks/support/Processes.h"

// What groups of processes cost, read from /proc (proc(5)). Any thread.
namespace bench {

// A process and all that descend from it, as long as they have not been given away.
std::vector<pid_t> familyOf(pid_t ancestor);
// Every process of that name.
std::vector<pid_t> processesNamed(const std::string& name);

// Whether one of these has not ended.
bool isAnyRunning(const std::vector<pid_t>& processes);

// Processor time of these, of their threads, and of their children that have ended and were waited
// for; exact to 10 ms.
Seconds processorTime(const std::vector<pid_t>& processes);
// The same without children that have ended, exact to nanoseconds.
Seconds ownProcessorTime(const std::vector<pid_t>& processes);
// How often one of their threads waited and was woken.
double wakeUps(const std::vector<pid_t>& processes);
// Their share of memory (PSS), in MB.
double proportionalMegabytes(const std::vector<pid_t>& processes);

// As long as it lives, looks at the memory of processes ten times a second.
class PeakMemory {
 public:
  using Processes = std::function<std::vector<pid_t>()>;
  // `processes` is asked anew each time, on a thread of its own.
  explicit PeakMemory(Processes processes);
  ~PeakMemory();
  PeakMemory(const PeakMemory&) = delete;
  PeakMemory& operator=(const PeakMemory&) = delete;

  // The most that they had together, in MB.
  double megabytes() const { return most_; }

 private:
  void look();

  const Processes processes_;
  std::atomic<double> most_ = 0;
  std::atomic<bool> over_ = false;
  std::thread thread_;
};

}  // namespace bench
