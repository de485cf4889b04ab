#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <functional>
#include <map>
#include <string>

namespace quillo {

// Notices that units of the user's systemd begin and end, by its signals, which it sends to those
// who ask for them (org.freedesktop.systemd1(5), "Subscribe"). Main thread.
class UnitChanges final : public QObject {
  Q_OBJECT

 public:
  // `beginning` is that of the units' names: letters, digits and "-". Waits for nothing.
  UnitChanges(const QDBusConnection& bus, const std::string& beginning,
              std::function<void()> changed);

 private Q_SLOTS:
  void propertiesChanged(const QDBusMessage& signal);

 private:
  const QString beginning_;  // of their objects' paths
  const std::function<void()> changed_;
  std::map<QString, QString> states_;  // by path
};

}  // namespace quillo
