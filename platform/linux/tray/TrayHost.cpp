#include "platform/linux/tray/TrayHost.h"

#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QTimer>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "platform/linux/session/BusDaemon.h"

namespace quillo {
namespace {

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

// A panel that has both kinds of tray may bring up the old one first.
constexpr auto patience = std::chrono::seconds(5);

// Replies of xcb come from malloc(3).
template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
  return {reply, &std::free};
}

}  // namespace

// The XEmbed system tray of an X11 display (System Tray Protocol, freedesktop.org). Main thread.
class XEmbedTray final : public QAbstractNativeEventFilter {
 public:
  // Returns nothing when the application is not on X11. `arrived` is called for every tray that
  // comes up later.
  static std::unique_ptr<XEmbedTray> onThisDisplay(std::function<void()> arrived);
  ~XEmbedTray() override;

  bool isThere() const;

  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

 private:
  XEmbedTray(xcb_connection_t* connection, std::function<void()> arrived);
  xcb_atom_t atom(const char* name) const;

  xcb_connection_t* connection_;
  xcb_atom_t selection_;
  xcb_atom_t manager_;
  std::function<void()> arrived_;
};

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
  const QDBusPendingCall call = QDBusConnection::sessionBus().asyncCall(question);
  whenAnswered(call, *this, [this](const QDBusPendingCall& answer) {
    const QDBusPendingReply<QDBusVariant> reply = answer;
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

std::unique_ptr<XEmbedTray> XEmbedTray::onThisDisplay(std::function<void()> arrived) {
  auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  if (!x11 || !x11->connection()) {
    return nullptr;
  }
  return std::unique_ptr<XEmbedTray>(new XEmbedTray(x11->connection(), std::move(arrived)));
}

// Qt itself selects the root window's structure events, which bring the MANAGER message.
XEmbedTray::XEmbedTray(xcb_connection_t* connection, std::function<void()> arrived)
    : connection_(connection),
      selection_(atom("_NET_SYSTEM_TRAY_S0")),
      manager_(atom("MANAGER")),
      arrived_(std::move(arrived)) {
  qGuiApp->installNativeEventFilter(this);
}

XEmbedTray::~XEmbedTray() { qGuiApp->removeNativeEventFilter(this); }

bool XEmbedTray::isThere() const {
  const auto owner = owned(xcb_get_selection_owner_reply(
      connection_, xcb_get_selection_owner(connection_, selection_), nullptr));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

bool XEmbedTray::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
  if (eventType != "xcb_generic_event_t") {
    return false;
  }
  const auto* event = static_cast<const xcb_generic_event_t*>(message);
  if ((event->response_type & 0x7F) == XCB_CLIENT_MESSAGE) {
    const auto* note = static_cast<const xcb_client_message_event_t*>(message);
    if (note->type == manager_ && note->data.data32[1] == selection_) {
      arrived_();
    }
  }
  return false;
}

xcb_atom_t XEmbedTray::atom(const char* name) const {
  const auto length = static_cast<std::uint16_t>(std::strlen(name));
  const auto reply = owned(
      xcb_intern_atom_reply(connection_, xcb_intern_atom(connection_, 0, length, name), nullptr));
  return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

}  // namespace quillo
