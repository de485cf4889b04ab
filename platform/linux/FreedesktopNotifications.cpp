#include "platform/linux/FreedesktopNotifications.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <algorithm>

#include "platform/linux/BusDaemon.h"
#include "platform/linux/NotificationText.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr char service[] = "org.freedesktop.Notifications";
constexpr char path[] = "/org/freedesktop/Notifications";
constexpr char busService[] = "org.freedesktop.DBus";
constexpr char applicationName[] = "Vantrel Quillo";
constexpr char applicationId[] = "org.vantrel.VantrelQuillo";

// The first names of the registration tell of infected files; they and the errors stay on the
// screen.
constexpr std::size_t namesOfInfections = 3;
constexpr char errorName[] = "Error";

std::string andMore(LocalizedStrings& strings, std::uint64_t count) {
  return replacingAll(strings.stringForKey("AND_MORE", "and %@ more; see the scan log"), "%@",
                      std::to_string(count));
}

bool couldNotBeStarted(const QDBusError& error) {
  return error.type() == QDBusError::ServiceUnknown || error.type() == QDBusError::NoServer ||
         error.type() == QDBusError::Disconnected ||
         error.name().startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn")) ||
         error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
}

}  // namespace

FreedesktopNotifications::FreedesktopNotifications(
    const QDBusConnection& bus, PostToMain postToMain, Clock& clock, LocalizedStrings& strings,
    std::function<void(const std::string& problem)> report)
    : bus_(bus),
      postToMain_(std::move(postToMain)),
      report_(std::move(report)),
      queue_(clock, [&strings](std::uint64_t count) { return andMore(strings, count); }) {
  if (!bus_.isConnected()) {
    return;
  }
  watcher_.setConnection(bus_);
  watcher_.addWatchedService(service);
  QObject::connect(
      &watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
      [this](const QString&, const QString&, const QString& owner) { ownerChanged(owner); });
  bus_.connect(busService, "/org/freedesktop/DBus", busService, "ActivatableServicesChanged", this,
               SLOT(activatableServicesChanged()));
  timer_.setSingleShot(true);
  QObject::connect(&timer_, &QTimer::timeout, this, [this] { pump(); });
  BusDaemon daemon(bus_);
  isRunning_ = daemon.hasOwner(service) || daemon.isActivatable(service);
}

void FreedesktopNotifications::setGrowlDelegate(const GrowlRegistration& registration) {
  registration_ = registration;
}

void FreedesktopNotifications::notify(const GrowlNotification& notification) {
  postToMain_([this, notification, life = std::weak_ptr<const bool>(life_)] {
    if (!life.expired()) {
      queue_.add(notification);
      pump();
    }
  });
}

void FreedesktopNotifications::handOver(std::chrono::milliseconds patience) {
  QTimer limit;
  limit.setSingleShot(true);
  limit.start(patience);
  const auto isAtWork = [this] {
    const auto left = queue_.untilNext();
    return isCalling_ || (isRunning_ && left && *left <= Clock::Duration());
  };
  while (limit.isActive()) {
    // When this itself is a posted event, no wait ends for those that stood behind it.
    QCoreApplication::sendPostedEvents();
    queue_.holdNothingBack();
    pump();
    if (!isAtWork()) {
      return;
    }
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
}

void FreedesktopNotifications::ownerChanged(const QString& newOwner) {
  server_.reset();
  queue_.forgetIds();
  if (newOwner.isEmpty()) {
    activatableServicesChanged();
  } else {
    isRunning_ = true;
  }
}

void FreedesktopNotifications::activatableServicesChanged() {
  BusDaemon daemon(bus_);
  isRunning_ = daemon.hasOwner(service) || daemon.isActivatable(service);
}

void FreedesktopNotifications::pump() {
  if (isCalling_ || !bus_.isConnected()) {
    return;
  }
  const auto left = queue_.untilNext();
  if (!left) {
    return;
  }
  if (*left > Clock::Duration()) {
    timer_.start(std::chrono::ceil<std::chrono::milliseconds>(*left));
  } else if (!server_) {
    askServer();
  } else if (const auto next = queue_.takeNext()) {
    send(*next);
  }
}

void FreedesktopNotifications::askServer() {
  call("GetCapabilities", {}, [this](const QDBusPendingCall& answer) {
    const QDBusPendingReply<QStringList> reply = answer;
    // Of a server that does not say, the worst is assumed: that a file's name could pass as markup.
    const bool unknown = !reply.isValid();
    server_ = Server{unknown || reply.value().contains("body"),
                     unknown || reply.value().contains("body-markup")};
    pump();
  });
}

void FreedesktopNotifications::send(const QueuedNotification& queued) {
  const GrowlNotification& notification = queued.notification;
  std::string title = notificationTitle(notification.title);
  const std::string body = notificationBody(notification.description, server_->hasMarkup);
  if (!server_->hasBody) {
    title += ": " + notificationTitle(notification.description);
  }
  const bool critical = !notification.isHint && isCritical(notification.name);
  const QVariantMap hints = {{"urgency", QVariant::fromValue<uchar>(critical ? 2 : 1)},
                             {"desktop-entry", QString(applicationId)}};
  const int never = 0;
  const int asTheServerLikes = -1;
  call("Notify",
       {QString(applicationName), static_cast<uint>(queued.replacesId), QString(applicationId),
        QString::fromStdString(title), QString::fromStdString(body), QStringList(), hints,
        notification.isSticky ? never : asTheServerLikes},
       [this, queued](const QDBusPendingCall& answer) {
         const QDBusPendingReply<uint> reply = answer;
         if (reply.isValid()) {
           queue_.shown(queued, reply.value());
         } else {
           failed(queued, reply.error());
         }
         pump();
       });
}

void FreedesktopNotifications::failed(const QueuedNotification& queued, const QDBusError& error) {
  if (report_) {
    report_("Notification \"" + queued.notification.title + ": " + queued.notification.description +
            "\" could not be shown: " + error.message().toStdString());
  }
  if (couldNotBeStarted(error)) {
    // The service file promises a server that does not come; until one does there is none.
    isRunning_ = BusDaemon(bus_).hasOwner(service);
    queue_.clear();
  }
}

bool FreedesktopNotifications::isCritical(const std::string& name) const {
  const auto& names = registration_.allNotifications;
  const auto end =
      names.begin() + static_cast<std::ptrdiff_t>(std::min(names.size(), namesOfInfections));
  return name == errorName || std::find(names.begin(), end, name) != end;
}

void FreedesktopNotifications::call(const QString& method, const QVariantList& arguments,
                                    std::function<void(const QDBusPendingCall& answer)> finished) {
  QDBusMessage message = QDBusMessage::createMethodCall(service, path, service, method);
  message.setArguments(arguments);
  isCalling_ = true;
  auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(message), this);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, this,
                   [this, watcher, finished = std::move(finished)] {
                     watcher->deleteLater();
                     isCalling_ = false;
                     finished(*watcher);
                   });
}

}  // namespace quillo
