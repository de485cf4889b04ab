#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <map>

#include "platform/Session.h"

namespace quillo {

// Notifications as signals on the session bus: path /org/vantrel/DistributedNotificationCenter,
// interface org.vantrel.DistributedNotificationCenter, the name as the member, the object as the
// one string argument. Without a bus nothing happens.
class SessionBusNotificationCenter final : public QObject, public DistributedNotificationCenter {
  Q_OBJECT

 public:
  static constexpr char path[] = "/org/vantrel/DistributedNotificationCenter";
  static constexpr char interface[] = "org.vantrel.DistributedNotificationCenter";

  explicit SessionBusNotificationCenter(const QDBusConnection& bus) : bus_(bus) {}

  void addObserver(const std::string& name, std::function<void()> action) override;
  void addObjectObserver(const std::string& name,
                         std::function<void(const std::string& object)> action) override;
  void removeObservers() override;
  void post(const std::string& name, const std::string& object) override;

 private Q_SLOTS:
  void received(const QDBusMessage& message);

 private:
  QDBusConnection bus_;
  std::multimap<QString, std::function<void(const std::string& object)>> actions_;
};

}  // namespace quillo
