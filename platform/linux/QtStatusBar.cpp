#include "platform/linux/QtStatusBar.h"

#include <QGuiApplication>
#include <chrono>
#include <utility>

#include "platform/linux/Guarded.h"

namespace quillo {
namespace {

// A panel may come late at log-in. Whoever is told without need is told once.
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
      tellRoom(true);
    }
  };
  host_.onChange(lookAtHost);
  patience_.setSingleShot(true);
  QObject::connect(&patience_, &QTimer::timeout, &patience_, [this] { tellRoom(false); });
  patience_.start(patience);
  lookAtHost();
}

void QtStatusBar::tellRoom(bool hasRoom) {
  const std::string desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP").toStdString();
  guarded([&] { roomObserver_(hasRoom, desktop); });
}

}  // namespace quillo
