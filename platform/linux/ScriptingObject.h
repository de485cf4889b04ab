#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusVariant>
#include <QObject>

#include "platform/ScriptingKeys.h"

namespace quillo {

// The agent on the session bus: name org.vantrel.VantrelQuillo, object /org/vantrel/VantrelQuillo,
// interface of the name, ValueForKey(s) → v. An unknown key is answered with the error
// org.vantrel.VantrelQuillo.Error.UnknownKey, whose text names it.
class ScriptingObject final : public QObject, public ScriptingKeys, protected QDBusContext {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.vantrel.VantrelQuillo")

 public:
  explicit ScriptingObject(const QDBusConnection& bus);

  // False when another process of this session has the name already; true also without a bus.
  bool claimName();
  void publish(
      std::function<std::optional<std::string>(const std::string& key)> valueForKey) override;

 public Q_SLOTS:
  QDBusVariant ValueForKey(const QString& key);

 private:
  QDBusConnection bus_;
  std::function<std::optional<std::string>(const std::string& key)> valueForKey_;
};

}  // namespace quillo
