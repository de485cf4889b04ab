#include "platform/linux/services/LinuxSystemLog.h"

#include <glib.h>
#include <syslog.h>

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>

#include "platform/linux/services/LinesOfActions.h"
#include "platform/linux/text/VisibleText.h"

namespace quillo {
namespace {

constexpr std::size_t longestLine = 4096;

void writeToSyslog(const std::string& line) { syslog(LOG_NOTICE, "%s", line.c_str()); }

void writeToConsole(const std::string& line) { std::fputs(line.c_str(), stderr); }

// The desktop's libraries end the process by exit(3) when their display goes.
std::atomic<LinuxSystemLog*> logOfThisProcess{nullptr};

void logRepeatsAtExit() {
  if (LinuxSystemLog* const log = logOfThisProcess) {
    log->logRepeats(true);
  }
}

std::string stamp(Clock& clock) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(clock.wallTime());
  std::tm local = {};
  localtime_r(&seconds, &local);
  char text[32];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S ", &local);
  return std::string(text, length);
}

std::string lineOf(std::string_view message) {
  if (!message.empty() && message.back() == '\n') {
    message.remove_suffix(1);
  }
  return visibleText(cutInTheMiddle(message, longestLine));
}

std::atomic<LinuxSystemLog*> receiver{nullptr};

void take(const char* library, std::string_view text) {
  if (LinuxSystemLog* const log = receiver) {
    log->logToSystem(library + std::string(text));
  }
}

void takeQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  const QByteArray text = qFormatLogMessage(type, context, message).toUtf8();
  take("Qt: ", {text.constData(), static_cast<std::size_t>(text.size())});
  if (type == QtFatalMsg) {
    std::fprintf(stderr, "%s\n", text.constData());
  }
}

GLogWriterOutput takeGlibMessage(GLogLevelFlags level, const GLogField* fields, gsize count,
                                 gpointer data) {
  if (receiver == nullptr) {
    return g_log_writer_default(level, fields, count, data);
  }
  // Debugging notes are for who asked for them.
  if (g_log_writer_default_would_drop(level, nullptr) != FALSE) {
    return G_LOG_WRITER_HANDLED;
  }
  const std::unique_ptr<gchar, decltype(&g_free)> text(
      g_log_writer_format_fields(level, fields, count, FALSE), g_free);
  take("GLib: ", text.get());
  if ((level & G_LOG_FLAG_FATAL) != 0) {
    std::fprintf(stderr, "%s\n", text.get());
  }
  return G_LOG_WRITER_HANDLED;
}

}  // namespace

LinuxSystemLog::LinuxSystemLog(Clock& clock)
    : LinuxSystemLog(clock, writeToSyslog, writeToConsole) {
  openlog("vantrel-quillo", LOG_PID | LOG_NDELAY, LOG_USER);
  if (!logOfThisProcess.exchange(this)) {
    std::atexit(logRepeatsAtExit);
  }
}

LinuxSystemLog::LinuxSystemLog(Clock& clock, Sink system, Sink console)
    : clock_(clock),
      system_(std::move(system)),
      console_(std::move(console)),
      filter_(clock, logsAnAction),
      systemFilter_(clock) {}

LinuxSystemLog::~LinuxSystemLog() {
  LinuxSystemLog* expected = this;
  logOfThisProcess.compare_exchange_strong(expected, nullptr);
  logRepeats(true);
}

void LinuxSystemLog::log(std::string_view message) {
  const std::string line = lineOf(message);
  MutexLock hold(mutex_);
  write(filter_.pass(line));
}

void LinuxSystemLog::logToSystem(std::string_view message) {
  const std::string line = lineOf(message);
  MutexLock hold(mutex_);
  writeToSystem(systemFilter_.pass(line));
}

void LinuxSystemLog::logRepeats(bool all) {
  MutexLock hold(mutex_);
  write(all ? filter_.takeAll() : filter_.takeDue());
  writeToSystem(all ? systemFilter_.takeAll() : systemFilter_.takeDue());
}

void LinuxSystemLog::writeToSystem(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) {
    system_(line);
  }
}

void LinuxSystemLog::write(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) {
    system_(line);
    console_(stamp(clock_) + line + "\n");
  }
}

LibraryMessages::LibraryMessages(LinuxSystemLog& log) {
  receiver = &log;
  qInstallMessageHandler(takeQtMessage);
  // GLib takes one writer in the life of a process.
  static const bool once = (g_log_set_writer_func(takeGlibMessage, nullptr, nullptr), true);
  static_cast<void>(once);
}

LibraryMessages::~LibraryMessages() {
  qInstallMessageHandler(nullptr);
  receiver = nullptr;
}

}  // namespace quillo
