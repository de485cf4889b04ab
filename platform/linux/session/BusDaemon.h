#pragma once

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

namespace quillo {

// Questions to the bus daemon itself (org.freedesktop.DBus), which answers at once; should it not,
// a question counts as answered with no after two seconds. Main thread.
class BusDaemon {
 public:
  explicit BusDaemon(const QDBusConnection& bus) : bus_(bus) {}

  // Returns when everything that was sent before has reached the daemon.
  void roundTrip();
  // Returns true when a process owns the name.
  bool hasOwner(const QString& name);
  // Returns true when the name has an owner, or a service file would start one.
  bool isServed(const QString& name);
  // Returns the process that owns the name; 0 when nobody does.
  unsigned int processOf(const QString& name);

 private:
  QDBusMessage ask(const char* question, const QVariantList& arguments);

  QDBusConnection bus_;
};

// Calls `finished` on the main thread when the answer to a call, or the lack of one, is known;
// never once `receiver` is gone. Main thread.
void whenAnswered(const QDBusPendingCall& call, QObject& receiver,
                  std::function<void(const QDBusPendingCall& answer)> finished);

}  // namespace quillo
