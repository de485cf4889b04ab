#include "platform/linux/services/LibraryMessages.h"

#include <glib.h>

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "platform/linux/services/LinuxSystemLog.h"

namespace quillo {
namespace {

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
