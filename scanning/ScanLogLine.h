#pragma once

#include <string>

namespace quillo {

class Clock;

// Lines of the scan log, which lies behind standard output. Any thread.

// Now, in local time, as such lines begin.
std::string scanLogTimestamp(Clock& clock);
// Written at once and in one piece.
void writeScanLogLine(const std::string& timestamp, const std::string& text);

}  // namespace quillo
