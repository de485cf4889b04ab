#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QObject>
#include <functional>

#include "platform/Session.h"
#include "platform/linux/services/Guarded.h"
#include "platform/linux/session/StatusSender.h"

namespace quillo {

// What desktops ask of an application that is started again (org.freedesktop.Application, Desktop
// Entry 1.5, freedesktop.org). There are no files to open and no actions: whatever is asked for
// shows the agent. Where that cannot be, the error org.vantrel.VantrelQuillo.Error.NotShown says
// why.
class ApplicationInterface final : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

 public:
  // `activate` returns 0 or the error's number.
  ApplicationInterface(QObject& object, QDBusConnection bus, std::function<int()> activate);

 public Q_SLOTS:
  void Activate(const QVariantMap& platformData, const QDBusMessage& call);
  void Open(const QStringList& uris, const QVariantMap& platformData, const QDBusMessage& call);
  void ActivateAction(const QString& action, const QVariantList& parameter,
                      const QVariantMap& platformData, const QDBusMessage& call);

 private:
  QDBusConnection bus_;
  const std::function<int()> activate_;
};

// The agent on the session bus: name org.vantrel.VantrelQuillo, object /org/vantrel/VantrelQuillo,
// the interface above and one of the name, ValueForKey(s) → v and Status() → a{sv}. An unknown key
// is answered with the error org.vantrel.VantrelQuillo.Error.UnknownKey, whose text names it; a
// status that is not there yet with org.vantrel.VantrelQuillo.Error.NoStatusYet.
class ScriptingObject final : public QObject, public ScriptingKeys, protected QDBusContext {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.vantrel.VantrelQuillo")

 public:
  ScriptingObject(const QDBusConnection& bus, std::function<int()> activate, PostToMain post);

  // Returns false when another process of this session has the name already; true without a bus.
  bool claimName();
  // Asks the agent that has the name to show itself, and waits for the answer. Returns "", or why
  // it does not: a reason for people.
  std::string activateOther();
  StatusPublisher& statusPublisher() { return statusSender_; }
  void publish(
      std::function<std::optional<std::string>(const std::string& key)> valueForKey) override;

 public Q_SLOTS:
  QDBusVariant ValueForKey(const QString& key);
  QVariantMap Status();

 private:
  QDBusConnection bus_;
  std::function<std::optional<std::string>(const std::string& key)> valueForKey_;
  StatusSender statusSender_;
};

}  // namespace quillo
