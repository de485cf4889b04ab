#include "platform/linux/companion/ConsoleApplication.h"

#include <unistd.h>

#include <QCoreApplication>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "platform/linux/services/Guarded.h"

namespace quillo {

void ConsoleApplication::performOnMainThread(std::function<void()> action) {
  QMetaObject::invokeMethod(
      QCoreApplication::instance(), [action = std::move(action)] { guarded(action); },
      Qt::QueuedConnection);
}

void ConsoleApplication::terminate() {
  performOnMainThread([] { QCoreApplication::quit(); });
}

void ConsoleApplication::exit(int status) {
  std::fflush(stdout);
  std::fflush(stderr);
  _exit(status);
}

int ConsoleApplication::transformToForegroundApplication() { return ENOTSUP; }

int ConsoleApplication::activateIgnoringOtherApps() { return ENOTSUP; }

}  // namespace quillo
