#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>
#include <functional>

namespace quillo {

// Lets events happen until `holds` does, 20 seconds at most. Gives what it is then.
inline bool waitUntil(const std::function<bool()>& holds) {
  const std::chrono::seconds longest(20);
  const QDeadlineTimer deadline(longest);
  QTimer wake;
  wake.start(longest);
  while (!holds() && !deadline.hasExpired()) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return holds();
}

inline void postToMain(std::function<void()> action) {
  QMetaObject::invokeMethod(qApp, std::move(action), Qt::QueuedConnection);
}

}  // namespace quillo
