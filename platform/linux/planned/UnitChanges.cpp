#include "platform/linux/planned/UnitChanges.h"

#include <QDBusArgument>
#include <QVariantMap>
#include <utility>

#include "platform/linux/services/Guarded.h"
#include "posix/Text.h"

namespace quillo {
namespace {

const QString service = QStringLiteral("org.freedesktop.systemd1");

}  // namespace

UnitChanges::UnitChanges(const QDBusConnection& bus, const std::string& beginning,
                         std::function<void()> changed)
    : beginning_("/org/freedesktop/systemd1/unit/" +
                 QString::fromStdString(replacingAll(beginning, "-", "_2d"))),
      changed_(std::move(changed)) {
  QDBusConnection theBus = bus;
  theBus.connect(service, QString(), QStringLiteral("org.freedesktop.DBus.Properties"),
                 QStringLiteral("PropertiesChanged"),
                 QStringList(QStringLiteral("org.freedesktop.systemd1.Unit")), QString(), this,
                 SLOT(propertiesChanged(QDBusMessage)));
  QDBusMessage subscribe = QDBusMessage::createMethodCall(
      service, QStringLiteral("/org/freedesktop/systemd1"),
      QStringLiteral("org.freedesktop.systemd1.Manager"), QStringLiteral("Subscribe"));
  subscribe.setAutoStartService(false);
  theBus.call(subscribe, QDBus::NoBlock);
}

void UnitChanges::propertiesChanged(const QDBusMessage& signal) {
  if (!signal.path().startsWith(beginning_) || signal.signature() != "sa{sv}as") {
    return;
  }
  const QVariantMap values = qdbus_cast<QVariantMap>(signal.arguments().at(1));
  const auto state = values.constFind(QStringLiteral("ActiveState"));
  if (state == values.constEnd()) {
    return;
  }
  QString& known = states_[signal.path()];
  if (std::exchange(known, state->toString()) != state->toString()) {
    guarded(changed_);
  }
}

}  // namespace quillo
