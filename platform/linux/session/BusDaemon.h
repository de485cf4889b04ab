#pragma once

#include <QDBusConnection>
#include <QString>
#include <QStringList>

namespace quillo {

// Questions to the bus daemon itself (org.freedesktop.DBus), which answers at once; should it not,
// each operation returns false, or 0, after two seconds. Main thread.
class BusDaemon {
 public:
  explicit BusDaemon(const QDBusConnection& bus) : bus_(bus) {}

  void roundTrip();
  bool hasOwner(const QString& name);
  // Returns true when a service file would start the name's owner.
  bool isActivatable(const QString& name);
  // Returns the process that owns the name; 0 when nobody does.
  unsigned int processOf(const QString& name);

 private:
  QDBusMessage ask(const char* question, const QVariantList& arguments);

  QDBusConnection bus_;
};

}  // namespace quillo
