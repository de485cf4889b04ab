#include "platform/linux/tray/TrayHost.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QTimer>
#include <chrono>

#include "platform/linux/tray/XEmbedTray.h"

namespace quillo {
namespace {

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

// A panel that has both kinds of tray may bring up the old one first.
constexpr auto patience = std::chrono::seconds(5);

}  // namespace

TrayHost::TrayHost() {
  watchSessionBus();
  xEmbedTray_ = XEmbedTray::onThisDisplay([this] { waitForPanel(); });
  waitForPanel();
}

TrayHost::~TrayHost() = default;

void TrayHost::watchSessionBus() {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) {
    return;
  }
  watcher_ =
      new QDBusServiceWatcher(watcherName, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
  connect(watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
          [this](const QString&, const QString&, const QString& newOwner) {
            if (kind_ == Kind::statusNotifier) {
              become(Kind::none);
            }
            if (!newOwner.isEmpty()) {
              askForHosts();
            }
          });
  bus.connect(watcherName, watcherPath, watcherName, "StatusNotifierHostRegistered", this,
              SLOT(hostRegistered()));
  askForHosts();
}

// The watcher may run in another process than the panel and come before it.
void TrayHost::askForHosts() {
  QDBusMessage question = QDBusMessage::createMethodCall(watcherName, watcherPath,
                                                         "org.freedesktop.DBus.Properties", "Get");
  question << watcherName << QStringLiteral("IsStatusNotifierHostRegistered");
  // Nobody is started for being asked.
  question.setAutoStartService(false);
  auto* call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
  connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
    const QDBusPendingReply<QDBusVariant> reply = *call;
    call->deleteLater();
    if (reply.isValid() && reply.value().variant().toBool()) {
      hostRegistered();
    }
  });
}

void TrayHost::hostRegistered() {
  if (kind_ == Kind::none) {
    become(Kind::statusNotifier);
  }
}

void TrayHost::waitForPanel() {
  if (!xEmbedTray_ || !xEmbedTray_->isThere() || kind_ != Kind::none || waitsForPanel_) {
    return;
  }
  waitsForPanel_ = true;
  QTimer::singleShot(patience, this, [this] { settleForXEmbed(); });
}

void TrayHost::settleForXEmbed() {
  waitsForPanel_ = false;
  if (kind_ == Kind::none && !hasBeenStatusNotifier_ && xEmbedTray_->isThere()) {
    become(Kind::xEmbed);
  }
}

void TrayHost::become(Kind kind) {
  kind_ = kind;
  hasBeenStatusNotifier_ = hasBeenStatusNotifier_ || kind == Kind::statusNotifier;
  for (const auto& observer : observers_) {
    observer();
  }
}

}  // namespace quillo
