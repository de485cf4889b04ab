#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <optional>

#include "platform/GrowlApplicationBridge.h"
#include "platform/LocalizedStrings.h"
#include "platform/linux/notifications/NotificationQueue.h"
#include "platform/linux/services/Guarded.h"

namespace quillo {

// The desktop's notifications, org.freedesktop.Notifications on the session bus (Desktop
// Notifications 1.2, freedesktop.org). Made on the main thread; nothing here waits for the server.
class FreedesktopNotifications final : public QObject, public GrowlApplicationBridge {
  Q_OBJECT

 public:
  // `icon` is the application's picture, a file: no theme need know it. `report` is called with
  // what could not be shown. The string "AND_MORE" words a burst's summary.
  FreedesktopNotifications(const QDBusConnection& bus, PostToMain postToMain, Clock& clock,
                           LocalizedStrings& strings, const std::string& icon,
                           std::function<void(const std::string& problem)> report);

  // This service asks for no registration.
  void setGrowlDelegate(const GrowlRegistration&) override {}
  bool isGrowlRunning() override { return isRunning_; }
  void notify(const GrowlNotification& notification) override;
  void withdraw(const std::string& topic) override;

  void handOver() override { handOver(std::chrono::seconds(1)); }
  // Waits for so long at most.
  void handOver(std::chrono::milliseconds patience);

 private Q_SLOTS:
  void activatableServicesChanged();
  void actionInvoked(uint id, const QString& key, const QDBusMessage& signal);
  void notificationClosed(uint id, uint reason, const QDBusMessage& signal);

 private:
  struct Server {
    bool hasBody;
    bool hasMarkup;
    bool hasActions;
    // Its own name on the bus: others can send signals that bear its service's.
    QString busName;
  };

  void ownerChanged(const QString& newOwner);
  void pump();
  void askServer();
  void send(const QueuedNotification& queued);
  void shown(const QueuedNotification& queued, uint id);
  void failed(const QueuedNotification& queued, const QDBusError& error);
  void makeRoomForFind();
  void close(uint id);
  bool isFromServer(const QDBusMessage& signal) const;
  // Runs `finished` on the main thread when the answer, or the lack of one, is known.
  void call(const QString& method, const QVariantList& arguments,
            std::function<void(const QDBusPendingCall& answer)> finished);

  QDBusConnection bus_;
  Clock& clock_;
  const PostWhileAlive post_;
  const QString icon_;
  const std::function<void(const std::string& problem)> report_;
  QDBusServiceWatcher watcher_;
  QTimer timer_;
  std::atomic<bool> isRunning_ = false;
  NotificationQueue queue_;
  ShownNotifications shown_;
  // Of the one that the server has been handed and has not answered.
  std::string topicInFlight_;
  bool withdrawnInFlight_ = false;
  // Nothing until the present owner of the name has answered.
  std::optional<Server> server_;
  bool isCalling_ = false;
};

}  // namespace quillo
