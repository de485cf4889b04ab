#include "platform/linux/session/StatusSender.h"

#include <utility>

#include "platform/linux/session/StatusMap.h"

namespace quillo {
namespace {

constexpr char path[] = "/org/vantrel/VantrelQuillo";
constexpr char interface[] = "org.vantrel.VantrelQuillo";

}  // namespace

StatusSender::StatusSender(const QDBusConnection& bus, PostToMain post)
    : post_(std::move(post)), bus_(bus) {
  listeners_.setConnection(bus_);
  listeners_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
  QObject::connect(&listeners_, &QDBusServiceWatcher::serviceUnregistered, this,
                   [this](const QString& listener) {
                     listeners_.removeWatchedService(listener);
                     hasListeners_ = !listeners_.watchedServices().isEmpty();
                   });
  pause_.setSingleShot(true);
  pause_.setInterval(shortestBetweenSignals);
  QObject::connect(&pause_, &QTimer::timeout, this, [this] {
    if (std::exchange(changedMeanwhile_, false)) {
      guarded([this] { send(); });
    }
  });
}

void StatusSender::publishStatus(std::function<AgentStatus()> status) {
  status_ = std::move(status);
}

void StatusSender::statusChanged() {
  if (hasListeners_ && !isPosted_.exchange(true)) {
    post_([this] {
      isPosted_ = false;
      sendSoon();
    });
  }
}

std::optional<QVariantMap> StatusSender::answer(const QString& caller) {
  const QStringList before = listeners_.watchedServices();
  if (!before.contains(caller)) {
    listeners_.addWatchedService(caller);
  }
  hasListeners_ = true;
  if (!status_) {
    return std::nullopt;
  }
  AgentStatus status = status_();
  const bool isAlone = before.isEmpty() || before == QStringList(caller);
  if (isAlone) {
    sent_ = status;
  } else if (status != sent_) {
    // Not all know the same: the next signal goes out whatever it says.
    sent_.reset();
  }
  return statusMap(status);
}

void StatusSender::sendSoon() {
  if (pause_.isActive()) {
    changedMeanwhile_ = true;
  } else {
    send();
  }
}

void StatusSender::send() {
  if (!status_ || !hasListeners_) {
    return;
  }
  AgentStatus status = status_();
  if (status == sent_) {
    return;
  }
  QDBusMessage signal = QDBusMessage::createSignal(path, interface, "StatusChanged");
  signal << statusMap(status);
  bus_.send(signal);
  sent_ = std::move(status);
  pause_.start();
}

}  // namespace quillo
