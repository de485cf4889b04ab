#pragma once

#include <functional>
#include <string>

#include "platform/SystemLog.h"
#include "platform/linux/services/RepeatFilter.h"
#include "posix/Mutex.h"

namespace quillo {

// The system log (syslog(3), facility LOG_USER, as "vantrel-quillo") and standard error, there with
// the local time in front ("2026-11-21 07:10:00 message"). Lines that repeat too often are counted
// and logged later, but for those that log one action each; what would break a line is shown
// escaped.
class LinuxSystemLog final : public SystemLog {
 public:
  using Sink = std::function<void(const std::string& line)>;

  // Writes to the machine's log and to standard error; at exit(3), too, what it counted.
  explicit LinuxSystemLog(Clock& clock);
  // Writes to `system` without the time and to `console` with it and a line end.
  LinuxSystemLog(Clock& clock, Sink system, Sink console);
  ~LinuxSystemLog() override;

  void log(std::string_view message) override;
  // Logs to the system log alone.
  void logToSystem(std::string_view message);
  // Logs repeated lines whose minute is over, and with `all` of those before it as well. To be
  // called about once a minute, and with `all` before the process ends. Any thread.
  void logRepeats(bool all = false);

 private:
  void write(const std::vector<std::string>& lines) QUILLO_REQUIRES(mutex_);
  void writeToSystem(const std::vector<std::string>& lines) QUILLO_REQUIRES(mutex_);

  Clock& clock_;
  const Sink system_;
  const Sink console_;
  Mutex mutex_;
  RepeatFilter filter_ QUILLO_GUARDED_BY(mutex_);
  RepeatFilter systemFilter_ QUILLO_GUARDED_BY(mutex_);
};

// What the libraries of the desktop say of themselves (Qt's messages, GLib's log) goes to the
// system log alone as long as this object lives, for it is nothing that the reader of the scan log
// could act upon. What ends the process is written to standard error as well. One at a time; made
// before the libraries are used.
class LibraryMessages {
 public:
  // `log` outlives this object.
  explicit LibraryMessages(LinuxSystemLog& log);
  ~LibraryMessages();
  LibraryMessages(const LibraryMessages&) = delete;
  LibraryMessages& operator=(const LibraryMessages&) = delete;
};

}  // namespace quillo
