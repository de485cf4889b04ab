#include "tests/desktop/support/session/SwaySession.h"

#include <QJsonArray>
#include <QJsonObject>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "tests/support/Waiting.h"

namespace quillo {
namespace {

// For what sway does not report: pixels, a process that ended, a word over the bus.
constexpr std::chrono::milliseconds longestWithoutLook{100};

// Nothing in it moves when a clock has ticked.
constexpr const char* barSettings = R"({
  "layer": "top", "position": "top", "height": 28,
  "modules-left": ["sway/workspaces"], "modules-right": ["tray"],
  "tray": { "icon-size": 22, "spacing": 6 }
}
)";
constexpr const char* barStyle =
    R"(* { font-family: sans-serif; font-size: 13px; border-radius: 0; }
window#waybar { background: #d8dee4; color: #000000; }
)";

void collect(const QJsonObject& node, bool isFloating, std::vector<SwaySession::Window>& found) {
  const bool isWindow = node["pid"].isDouble() && node["nodes"].toArray().isEmpty();
  if (isWindow) {
    const QJsonObject area = node["rect"].toObject();
    const QString id = node["app_id"].toString();
    const QString windowClass = node["window_properties"].toObject()["class"].toString();
    found.push_back(
        {node["name"].toString().toStdString(),
         (id.isEmpty() ? windowClass : id).toStdString(),
         {area["x"].toInt(), area["y"].toInt(), area["width"].toInt(), area["height"].toInt()},
         isFloating,
         node["focused"].toBool(),
         node["shell"].toString() == "xwayland"});
  }
  for (const QJsonValue inner : node["nodes"].toArray()) {
    collect(inner.toObject(), isFloating, found);
  }
  for (const QJsonValue inner : node["floating_nodes"].toArray()) {
    collect(inner.toObject(), true, found);
  }
}

}  // namespace

SwaySession::SwaySession(const User& user, const Options& options)
    : UserSession(user), options_(options) {
  configure();
  giveHomeToUser();
  for (const char* variable :
       {"XDG_SESSION_TYPE=wayland", "XDG_CURRENT_DESKTOP=sway", "WLR_BACKENDS=headless",
        "WLR_LIBINPUT_NO_DEVICES=1", "WLR_RENDERER=pixman", "LIBSEAT_BACKEND=noop"}) {
    addVariable(variable);
  }
  startSessionBus();
  addVariable("SWAYSOCK=" + runtimeFolder() + "/sway.sock");
  std::istringstream answer(
      startWithAnswer({"sway", "--config", homeFolder() + "/.config/sway/config"}, compositor_));
  std::string waylandDisplay;
  std::string display;
  answer >> waylandDisplay >> display;
  addVariable("WAYLAND_DISPLAY=" + waylandDisplay);
  if (options_.hasXwayland) {
    addVariable("DISPLAY=" + display);
  }
  ipc_ = std::make_unique<SwayIpc>(runtimeFolder() + "/sway.sock");
  pointer_ = std::make_unique<WaylandPointer>(runtimeFolder() + "/" + waylandDisplay);
  pointTo(0, size().height() - 1);
  // A keyboard that lies there: programs lose the first key of one that has just been plugged in.
  keyboard_ = startCommand({"wtype", "-s", "4000000"});
}

void SwaySession::configure() {
  const std::string folder = homeFolder() + "/.config";
  std::filesystem::create_directories(folder + "/sway");
  std::filesystem::create_directories(folder + "/waybar");
  std::ofstream(folder + "/waybar/config") << barSettings;
  std::ofstream(folder + "/waybar/style.css") << barStyle;
  std::ofstream(folder + "/sway/config")
      << "output HEADLESS-1 resolution " << width << "x" << height << " scale " << options_.scale
      << "\noutput HEADLESS-1 background #47607a solid_color\n"
      << "xwayland " << (options_.hasXwayland ? "enable" : "disable") << "\n"
      << options_.configuration << "\nexec echo $WAYLAND_DISPLAY $DISPLAY >&3\n";
}

bool SwaySession::eventually(const std::function<bool()>& predicate) {
  return awaitBy([this](auto left) { ipc_->awaitEvent(std::min(left, longestWithoutLook)); },
                 predicate);
}

std::vector<SwaySession::Window> SwaySession::windows() {
  std::vector<Window> found;
  collect(ipc_->tree().object(), false, found);
  return found;
}

std::optional<SwaySession::Window> SwaySession::window(const std::string& title) {
  std::optional<Window> topmost;
  for (const Window& window : windows()) {
    if (window.title == title) {
      topmost = window;
    }
  }
  return topmost;
}

bool SwaySession::showsWindows(std::size_t count, const std::string& title) {
  return eventually([&] {
    std::size_t shown = 0;
    for (const Window& window : windows()) {
      shown += window.title == title ? 1U : 0U;
    }
    return shown == count;
  });
}

QImage SwaySession::picture() {
  const std::string file = runtimeFolder() + "/screen.png";
  run({"grim", file});
  return QImage(QString::fromStdString(file)).convertToFormat(QImage::Format_RGB32);
}

std::optional<QRect> SwaySession::find(QRgb colour, const QRect& area) {
  const QImage image = picture();
  const int scale = options_.scale;
  QRect found;
  for (int y = area.top() * scale; y <= area.bottom() * scale && y < image.height(); ++y) {
    for (int x = area.left() * scale; x <= area.right() * scale && x < image.width(); ++x) {
      if ((image.pixel(x, y) & 0xffffffU) == (colour & 0xffffffU)) {
        found |= QRect(x / scale, y / scale, 1, 1);
      }
    }
  }
  return found.isNull() ? std::nullopt : std::optional(found);
}

void SwaySession::startBar() {
  bar_ = startCommand({"waybar"});
  bus().awaitOwner("org.kde.StatusNotifierWatcher");
}

void SwaySession::stopBar() {
  bar_.reset();
  bus().awaitNoOwner("org.kde.StatusNotifierWatcher");
}

void SwaySession::startNotificationServer() {
  notificationServer_ = startCommand({"mako"});
  bus().awaitOwner("org.freedesktop.Notifications");
}

void SwaySession::pointTo(int x, int y) {
  // A pointer that comes out of nowhere crosses no border.
  pointer_->moveTo(qMax(0, x - 1), y, size().width(), size().height());
  pointer_->moveTo(x, y, size().width(), size().height());
}

void SwaySession::click(int x, int y, int button, const std::string& heldKey) {
  const auto which = button == 1 ? WaylandPointer::Button::left : WaylandPointer::Button::right;
  pointTo(x, y);
  if (!heldKey.empty()) {
    throw std::logic_error("no key can be held here");
  }
  pointer_->press(which);
  pointer_->release(which);
}

void SwaySession::type(const std::string& text) { run({"wtype", text}); }

void SwaySession::press(const std::string& key) { run({"wtype", "-k", key}); }

void SwaySession::keepPicture(const std::string& name) {
  picture().save(QString::fromStdString(pictureFile(name)));
}

}  // namespace quillo
