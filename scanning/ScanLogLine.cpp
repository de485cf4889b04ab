#include "scanning/ScanLogLine.h"

#include <cstdio>
#include <ctime>

#include "posix/Clock.h"

namespace quillo {

std::string scanLogTimestamp(Clock& clock) {
  char buffer[30] = "";
  const std::time_t now = std::chrono::system_clock::to_time_t(clock.wallTime());
  std::tm local = {};
  if (!localtime_r(&now, &local) ||
      std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &local) == 0) {
    buffer[0] = 'X';
  }
  return buffer;
}

void writeScanLogLine(const std::string& timestamp, const std::string& text) {
  std::printf("%s %s\n", timestamp.c_str(), text.c_str());
  std::fflush(stdout);
}

}  // namespace quillo
