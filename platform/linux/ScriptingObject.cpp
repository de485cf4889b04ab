#include "platform/linux/ScriptingObject.h"

#include "platform/linux/Guarded.h"

namespace quillo {

ScriptingObject::ScriptingObject(const QDBusConnection& bus) : bus_(bus) {
  // Before the name is claimed, so that nobody finds the name without the object.
  bus_.registerObject("/org/vantrel/VantrelQuillo", this, QDBusConnection::ExportAllSlots);
}

bool ScriptingObject::claimName() {
  return !bus_.isConnected() || bus_.registerService("org.vantrel.VantrelQuillo");
}

void ScriptingObject::publish(
    std::function<std::optional<std::string>(const std::string& key)> valueForKey) {
  valueForKey_ = std::move(valueForKey);
}

QDBusVariant ScriptingObject::ValueForKey(const QString& key) {
  std::optional<std::string> value;
  if (valueForKey_) {
    guarded([&] { value = valueForKey_(key.toStdString()); });
  }
  if (!value) {
    sendErrorReply("org.vantrel.VantrelQuillo.Error.UnknownKey",
                   QStringLiteral("there is no value for the key \"%1\"").arg(key));
    return QDBusVariant(QString());
  }
  return QDBusVariant(QString::fromStdString(*value));
}

}  // namespace quillo
