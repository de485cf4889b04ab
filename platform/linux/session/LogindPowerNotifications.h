#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <string>

#include "platform/Session.h"

namespace quillo {

// Sleep and wake as logind reports them (org.freedesktop.login1(5), "PrepareForSleep"). A delay
// inhibitor makes the machine wait for `willSleep`, five seconds by default; it is given back when
// that has run and taken again at wake. Without logind nothing happens; one that starts again is
// found.
class LogindPowerNotifications final : public QObject, public PowerNotifications {
  Q_OBJECT

 public:
  using Report = std::function<void(const std::string& problem)>;

  LogindPowerNotifications(const QDBusConnection& systemBus, Report report);

  void observe(std::function<void()> willSleep, std::function<void()> didWake) override;

 private Q_SLOTS:
  void prepareForSleep(bool isBefore);

 private:
  void takeInhibitor();

  QDBusConnection bus_;
  const Report report_;
  QDBusServiceWatcher watcher_;
  std::function<void()> willSleep_;
  std::function<void()> didWake_;
  bool sleeps_ = false;
  QDBusUnixFileDescriptor inhibitor_;
};

}  // namespace quillo
