#include "platform/linux/session/BusDaemon.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <utility>

namespace quillo {
namespace {

constexpr int longestWait = 2000;  // milliseconds
constexpr char service[] = "org.freedesktop.DBus";

}  // namespace

QDBusMessage BusDaemon::ask(const char* question, const QVariantList& arguments) {
  if (!bus_.isConnected()) {
    return {};
  }
  QDBusMessage call =
      QDBusMessage::createMethodCall(service, "/org/freedesktop/DBus", service, question);
  call.setArguments(arguments);
  return bus_.call(call, QDBus::Block, longestWait);
}

void BusDaemon::roundTrip() { ask("GetId", {}); }

bool BusDaemon::hasOwner(const QString& name) {
  return ask("NameHasOwner", {name}).arguments().value(0).toBool();
}

bool BusDaemon::isServed(const QString& name) {
  return hasOwner(name) ||
         ask("ListActivatableNames", {}).arguments().value(0).toStringList().contains(name);
}

unsigned int BusDaemon::processOf(const QString& name) {
  const QDBusMessage reply = ask("GetConnectionUnixProcessID", {name});
  return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toUInt() : 0;
}

void whenAnswered(const QDBusPendingCall& call, QObject& receiver,
                  std::function<void(const QDBusPendingCall& answer)> finished) {
  auto* watcher = new QDBusPendingCallWatcher(call, &receiver);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &receiver,
                   [watcher, finished = std::move(finished)] {
                     watcher->deleteLater();
                     finished(*watcher);
                   });
}

}  // namespace quillo
