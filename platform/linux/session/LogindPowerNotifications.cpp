#include "platform/linux/session/LogindPowerNotifications.h"

#include <QDBusMessage>
#include <QDBusPendingReply>

#include "platform/linux/services/Guarded.h"
#include "platform/linux/session/BusDaemon.h"

namespace quillo {
namespace {

constexpr char service[] = "org.freedesktop.login1";
constexpr char path[] = "/org/freedesktop/login1";
constexpr char manager[] = "org.freedesktop.login1.Manager";

}  // namespace

LogindPowerNotifications::LogindPowerNotifications(const QDBusConnection& systemBus, Report report)
    : bus_(systemBus), report_(std::move(report)) {}

void LogindPowerNotifications::observe(std::function<void()> willSleep,
                                       std::function<void()> didWake) {
  const bool isFirst = willSleep_ == nullptr;
  willSleep_ = std::move(willSleep);
  didWake_ = std::move(didWake);
  if (!isFirst || !bus_.isConnected()) {
    return;
  }
  bus_.connect(service, path, manager, "PrepareForSleep", this, SLOT(prepareForSleep(bool)));
  watcher_.setConnection(bus_);
  watcher_.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
  watcher_.addWatchedService(service);
  QObject::connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, [this] {
    // What the one before held is void.
    sleeps_ = false;
    takeInhibitor();
  });
  takeInhibitor();
}

void LogindPowerNotifications::prepareForSleep(bool isBefore) {
  sleeps_ = isBefore;
  if (isBefore) {
    guarded(willSleep_);
    inhibitor_ = QDBusUnixFileDescriptor();
  } else {
    takeInhibitor();
    guarded(didWake_);
  }
}

void LogindPowerNotifications::takeInhibitor() {
  QDBusMessage call = QDBusMessage::createMethodCall(service, path, manager, "Inhibit");
  call << QStringLiteral("sleep") << QStringLiteral("Vantrel Quillo")
       << QStringLiteral("Stops watching folders") << QStringLiteral("delay");
  whenAnswered(bus_.asyncCall(call), *this, [this](const QDBusPendingCall& answer) {
    const QDBusPendingReply<QDBusUnixFileDescriptor> reply = answer;
    if (reply.isValid() && !sleeps_) {
      inhibitor_ = reply.value();
    } else if (reply.isError() && reply.error().type() != QDBusError::ServiceUnknown && report_) {
      report_("The machine will not wait before it sleeps: " +
              reply.error().message().toStdString());
    }
  });
}

}  // namespace quillo
