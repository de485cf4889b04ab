#include "platform/linux/session/SessionBusNotificationCenter.h"

#include <vector>

#include "platform/linux/services/Guarded.h"
#include "platform/linux/session/BusDaemon.h"

namespace quillo {

void SessionBusNotificationCenter::addObserver(const std::string& name,
                                               std::function<void()> action) {
  addObjectObserver(name, [action = std::move(action)](const std::string&) { action(); });
}

void SessionBusNotificationCenter::addObjectObserver(
    const std::string& name, std::function<void(const std::string& object)> action) {
  const QString member = QString::fromStdString(name);
  if (actions_.find(member) == actions_.end()) {
    bus_.connect(QString(), path, interface, member, this, SLOT(received(QDBusMessage)));
  }
  actions_.emplace(member, std::move(action));
}

void SessionBusNotificationCenter::removeObservers() {
  for (auto at = actions_.begin(); at != actions_.end(); at = actions_.upper_bound(at->first)) {
    bus_.disconnect(QString(), path, interface, at->first, this, SLOT(received(QDBusMessage)));
  }
  actions_.clear();
}

void SessionBusNotificationCenter::post(const std::string& name, const std::string& object) {
  if (!bus_.isConnected()) {
    return;
  }
  QDBusMessage signal = QDBusMessage::createSignal(path, interface, QString::fromStdString(name));
  signal << QString::fromStdString(object);
  bus_.send(signal);
  // The bus daemon takes messages in order: once it has answered, it has the signal, and this
  // process may end.
  BusDaemon(bus_).roundTrip();
}

void SessionBusNotificationCenter::received(const QDBusMessage& message) {
  const auto [first, last] = actions_.equal_range(message.member());
  std::vector<std::function<void(const std::string& object)>> actions;
  for (auto at = first; at != last; ++at) {
    actions.push_back(at->second);
  }
  const std::string object = message.arguments().value(0).toString().toStdString();
  for (const auto& action : actions) {
    guarded([&] { action(object); });
  }
}

}  // namespace quillo
