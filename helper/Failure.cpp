#include "helper/Failure.h"

#include <syslog.h>

#include <ctime>

namespace quillo::helper {
namespace {

constexpr int linesAMinute = 60;

// Returns true when another line may be written now; `withheld` is what was held back before it.
bool mayWrite(unsigned& withheld) {
  static time_t minute = 0;
  static int written = 0;
  static unsigned heldBack = 0;
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  if (now.tv_sec / 60 != minute) {
    minute = now.tv_sec / 60;
    written = 0;
  }
  if (written == linesAMinute) {
    ++heldBack;
    return false;
  }
  ++written;
  withheld = heldBack;
  heldBack = 0;
  return true;
}

}  // namespace

void openSystemLog() { openlog("gfslogger", LOG_PID | LOG_NDELAY, LOG_DAEMON); }

void logWarning(std::string_view text) {
  unsigned withheld = 0;
  if (!mayWrite(withheld)) return;
  if (withheld > 0) syslog(LOG_WARNING, "%u messages withheld", withheld);
  syslog(LOG_WARNING, "%.*s", static_cast<int>(text.size()), text.data());
}

std::string escaped(std::string_view text) {
  std::string result;
  for (const char byte : text) {
    const auto code = static_cast<unsigned char>(byte);
    if (code >= ' ' && code < 0x7f && byte != '\\') {
      result += byte;
      continue;
    }
    result += '\\';
    for (const int shift : {6, 3, 0}) result += static_cast<char>('0' + ((code >> shift) & 7));
  }
  return result;
}

}  // namespace quillo::helper
