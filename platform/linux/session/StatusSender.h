#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>
#include <atomic>
#include <functional>
#include <optional>

#include "platform/AgentLink.h"
#include "platform/linux/services/Guarded.h"

namespace quillo {

// The agent's end of its status on the session bus: the method Status() → a{sv}, which the object
// of the agent offers, and the signal StatusChanged(a{sv}), both of the interface
// org.vantrel.VantrelQuillo (docs/status.md). The signal is sent for as long as somebody is on the
// bus who has called the method.
class StatusSender final : public QObject, public StatusPublisher {
 public:
  static constexpr std::chrono::milliseconds shortestBetweenSignals{300};

  StatusSender(const QDBusConnection& bus, PostToMain post);

  void publishStatus(std::function<AgentStatus()> status) override;
  void statusChanged() override;
  // Returns what is answered to `caller`, who is sent the changes from now on; nothing before there
  // is a status. Main thread.
  std::optional<QVariantMap> answer(const QString& caller);

 private:
  void sendSoon();
  void send();

  // Own synchronisation.
  const PostWhileAlive post_;
  std::atomic<bool> hasListeners_{false};
  std::atomic<bool> isPosted_{false};
  // The main thread's own.
  QDBusConnection bus_;
  std::function<AgentStatus()> status_;
  QDBusServiceWatcher listeners_;
  QTimer pause_;
  bool changedMeanwhile_ = false;
  std::optional<AgentStatus> sent_;
};

}  // namespace quillo
