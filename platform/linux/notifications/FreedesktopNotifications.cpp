#include "platform/linux/notifications/FreedesktopNotifications.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QUrl>

#include "platform/linux/notifications/NotificationQueue.h"
#include "platform/linux/services/Guarded.h"
#include "platform/linux/session/BusDaemon.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr char service[] = "org.freedesktop.Notifications";
constexpr char path[] = "/org/freedesktop/Notifications";
constexpr char busService[] = "org.freedesktop.DBus";
constexpr char applicationName[] = "Vantrel Quillo";
constexpr char applicationId[] = "org.vantrel.VantrelQuillo";

// The key of what a click on the notification itself does.
constexpr char defaultAction[] = "default";

// How long a banner may stand that nobody answers.
constexpr std::chrono::minutes mayStillStand(1);

std::string andMore(LocalizedStrings& strings, std::uint64_t count) {
  return replacingAll(strings.stringForKey("AND_MORE", "and %@ more; see the scan log"), "%@",
                      std::to_string(count));
}

// Titles and keys in turn, as the service takes them; a key is the place of its button.
QStringList actionsOf(const NotificationDetails& details) {
  QStringList actions;
  for (std::size_t i = 0; i < details.buttons.size(); ++i) {
    const auto title = QString::fromStdString(notificationTitle(details.buttons[i].title));
    if (i == 0) {
      actions << defaultAction << title;
    }
    actions << QString::number(i) << title;
  }
  return actions;
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
    const std::string& icon, std::function<void(const std::string& problem)> report)
    : bus_(bus),
      clock_(clock),
      post_(std::move(postToMain)),
      icon_(QUrl::fromLocalFile(QString::fromStdString(icon)).toString(QUrl::FullyEncoded)),
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
  bus_.connect(service, path, service, "ActionInvoked", this,
               SLOT(actionInvoked(uint, QString, QDBusMessage)));
  bus_.connect(service, path, service, "NotificationClosed", this,
               SLOT(notificationClosed(uint, uint, QDBusMessage)));
  timer_.setSingleShot(true);
  QObject::connect(&timer_, &QTimer::timeout, this, [this] { pump(); });
  activatableServicesChanged();
}

void FreedesktopNotifications::notify(const GrowlNotification& notification) {
  post_([this, notification] {
    queue_.add(notification);
    pump();
  });
}

void FreedesktopNotifications::withdraw(const std::string& topic) {
  post_([this, topic] {
    if (topic.empty()) {
      return;
    }
    queue_.withdraw(topic);
    withdrawnInFlight_ = withdrawnInFlight_ || topicInFlight_ == topic;
    for (const std::uint32_t id : shown_.takeTopic(topic)) {
      close(id);
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
  shown_.clear();
  if (newOwner.isEmpty()) {
    activatableServicesChanged();
  } else {
    isRunning_ = true;
  }
}

void FreedesktopNotifications::activatableServicesChanged() {
  isRunning_ = BusDaemon(bus_).isServed(service);
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
                     unknown || reply.value().contains("body-markup"),
                     !unknown && reply.value().contains("actions"), answer.reply().service()};
    pump();
  });
}

void FreedesktopNotifications::send(const QueuedNotification& queued) {
  const GrowlNotification& notification = queued.notification;
  const NotificationDetails& details = notification.details;
  const std::string& text = details.body.empty() ? notification.description : details.body;
  std::string title =
      notificationTitle(details.summary.empty() ? notification.title : details.summary);
  const std::string body = notificationBody(text, server_->hasMarkup);
  if (!server_->hasBody) {
    title += ": " + notificationTitle(text);
  }
  if (details.isFind) {
    makeRoomForFind();
  }
  const int normal = 1;
  const int critical = 2;
  QVariantMap hints = {{"urgency", QVariant::fromValue<uchar>(details.isFind ? critical : normal)},
                       {"image-path", icon_}};
  // What bears an application's name some desktops take away with its process.
  if (!details.outlivesSender) {
    hints.insert("desktop-entry", QString(applicationId));
  }
  const int never = 0;
  const int asTheServerLikes = -1;
  topicInFlight_ = details.topic;
  withdrawnInFlight_ = false;
  call("Notify",
       {QString(applicationName), static_cast<uint>(queued.replacesId), icon_,
        QString::fromStdString(title), QString::fromStdString(body),
        server_->hasActions ? actionsOf(details) : QStringList(), hints,
        notification.isSticky ? never : asTheServerLikes},
       [this, queued](const QDBusPendingCall& answer) {
         const QDBusPendingReply<uint> reply = answer;
         topicInFlight_.clear();
         if (reply.isValid()) {
           shown(queued, reply.value());
         } else {
           failed(queued, reply.error());
         }
         pump();
       });
}

void FreedesktopNotifications::shown(const QueuedNotification& queued, uint id) {
  queue_.shown(queued, id);
  if (withdrawnInFlight_) {
    close(id);
  } else {
    shown_.add(id, queued.notification, clock_.now());
  }
}

// Some desktops show one banner at a time and let it stand until it is answered: one that can wait
// must not stand before the first that cannot. What has stood for longer lies in a list by now, and
// would come back as if it were new.
void FreedesktopNotifications::makeRoomForFind() {
  if (shown_.hasFind()) {
    return;
  }
  for (const ShownNotifications::Shown& hint : shown_.takeHints(clock_.now() - mayStillStand)) {
    close(hint.id);
    queue_.addAgain(hint.notification);
  }
}

void FreedesktopNotifications::close(uint id) {
  QDBusMessage message =
      QDBusMessage::createMethodCall(service, path, service, "CloseNotification");
  message << id;
  bus_.call(message, QDBus::NoBlock);
}

bool FreedesktopNotifications::isFromServer(const QDBusMessage& signal) const {
  return server_ && !server_->busName.isEmpty() && signal.service() == server_->busName;
}

void FreedesktopNotifications::actionInvoked(uint id, const QString& key,
                                             const QDBusMessage& signal) {
  const GrowlNotification* notification = isFromServer(signal) ? shown_.find(id) : nullptr;
  if (!notification) {
    return;
  }
  const auto& buttons = notification->details.buttons;
  bool isNumber = false;
  const uint place = key == defaultAction ? 0 : key.toUInt(&isNumber);
  if ((isNumber || key == defaultAction) && place < buttons.size() && buttons[place].press) {
    // What it does may withdraw the notification, and the button with it.
    const auto press = buttons[place].press;
    guarded(press);
  }
}

void FreedesktopNotifications::notificationClosed(uint id, uint, const QDBusMessage& signal) {
  if (isFromServer(signal)) {
    shown_.remove(id);
  }
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

void FreedesktopNotifications::call(const QString& method, const QVariantList& arguments,
                                    std::function<void(const QDBusPendingCall& answer)> finished) {
  QDBusMessage message = QDBusMessage::createMethodCall(service, path, service, method);
  message.setArguments(arguments);
  isCalling_ = true;
  whenAnswered(bus_.asyncCall(message), *this,
               [this, finished = std::move(finished)](const QDBusPendingCall& answer) {
                 isCalling_ = false;
                 finished(answer);
               });
}

}  // namespace quillo
