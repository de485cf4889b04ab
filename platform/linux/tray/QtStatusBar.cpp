#include "platform/linux/tray/QtStatusBar.h"

#include <QGuiApplication>
#include <chrono>
#include <utility>

#include "platform/linux/services/Guarded.h"

namespace quillo {
namespace {

// A panel may come late at log-in. Who is told too early sees that taken back.
constexpr auto shortPatience = std::chrono::seconds(2);
constexpr auto patience = std::chrono::seconds(10);

}  // namespace

void QtStatusBar::observeRoom(RoomObserver observer) {
  if (QGuiApplication::platformName() == QLatin1String("offscreen")) {
    return;
  }
  roomObserver_ = std::move(observer);
  const auto lookAtHost = [this] {
    if (host_.kind() != TrayHost::Kind::none) {
      patience_.stop();
      tellRoom(Room::shown);
    }
  };
  host_.onChange(lookAtHost);
  patience_.setSingleShot(true);
  QObject::connect(&patience_, &QTimer::timeout, &patience_, [this] {
    const bool isShort = patience_.intervalAsDuration() == shortPatience;
    if (isShort) {
      patience_.start(patience - shortPatience);
    }
    tellRoom(isShort ? Room::notYet : Room::none);
  });
  patience_.start(shortPatience);
  lookAtHost();
}

void QtStatusBar::tellRoom(Room room) {
  const std::string desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP").toStdString();
  guarded([&] { roomObserver_(room, desktop); });
}

}  // namespace quillo
