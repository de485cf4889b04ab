#include "platform/linux/session/ScriptingObject.h"

#include <QDBusError>
#include <QThread>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/linux/services/Guarded.h"

namespace quillo {
namespace {

constexpr char name[] = "org.vantrel.VantrelQuillo";
constexpr char path[] = "/org/vantrel/VantrelQuillo";
constexpr int longestAnswer = 10000;  // milliseconds
constexpr int mostChecks = 30;
constexpr unsigned long betweenChecks = 100;  // milliseconds

bool isOwnerMissing(const QDBusMessage& answer) {
  return answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner") ||
         QDBusError(answer).type() == QDBusError::ServiceUnknown;
}

}  // namespace

ApplicationInterface::ApplicationInterface(QObject& object, QDBusConnection bus,
                                           std::function<int()> activate)
    : QDBusAbstractAdaptor(&object), bus_(std::move(bus)), activate_(std::move(activate)) {}

void ApplicationInterface::Activate(const QVariantMap&, const QDBusMessage& call) {
  if (const int error = activate_()) {
    call.setDelayedReply(true);
    bus_.send(call.createErrorReply(
        "org.vantrel.VantrelQuillo.Error.NotShown",
        error == ENOTSUP ? QStringLiteral("it runs without a display that could show its window")
                         : QString::fromLocal8Bit(std::strerror(error))));
  }
}

void ApplicationInterface::Open(const QStringList&, const QVariantMap& platformData,
                                const QDBusMessage& call) {
  Activate(platformData, call);
}

void ApplicationInterface::ActivateAction(const QString&, const QVariantList&,
                                          const QVariantMap& platformData,
                                          const QDBusMessage& call) {
  Activate(platformData, call);
}

ScriptingObject::ScriptingObject(const QDBusConnection& bus, std::function<int()> activate,
                                 PostToMain post)
    : bus_(bus), statusSender_(bus, std::move(post)) {
  new ApplicationInterface(*this, bus_, std::move(activate));
  // Before the name is claimed, so that nobody finds the name without the object.
  bus_.registerObject(path, this,
                      QDBusConnection::ExportAllSlots | QDBusConnection::ExportAdaptors);
}

bool ScriptingObject::claimName() { return !bus_.isConnected() || bus_.registerService(name); }

std::string ScriptingObject::activateOther() {
  if (!bus_.isConnected()) {
    return "there is no session bus over which it could be asked to show itself";
  }
  QDBusMessage call =
      QDBusMessage::createMethodCall(name, path, "org.freedesktop.Application", "Activate");
  call << QVariantMap();
  // A third one that were started for the answer would ask in its turn.
  call.setAutoStartService(false);
  QDBusMessage answer;
  for (int checks = 0; checks < mostChecks; ++checks) {
    answer = bus_.call(call, QDBus::Block, longestAnswer);
    if (!isOwnerMissing(answer)) {
      break;
    }
    // It may be about to start, and then has its lock a moment before its name.
    QThread::msleep(betweenChecks);
  }
  if (answer.type() == QDBusMessage::ReplyMessage) {
    return "";
  }
  return isOwnerMissing(answer) ? "it belongs to another session"
                                : answer.errorMessage().toStdString();
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

QVariantMap ScriptingObject::Status() {
  std::optional<QVariantMap> status;
  guarded([&] { status = statusSender_.answer(message().service()); });
  if (!status) {
    sendErrorReply("org.vantrel.VantrelQuillo.Error.NoStatusYet",
                   QStringLiteral("the agent is only beginning"));
  }
  return status.value_or(QVariantMap());
}

}  // namespace quillo
