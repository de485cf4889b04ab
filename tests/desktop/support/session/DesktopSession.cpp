#include "tests/desktop/support/session/DesktopSession.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace quillo {
namespace {

constexpr auto panelsPatience = std::chrono::seconds(5);

// A panel at the top with the windows on its left and the status items on its right, where nothing
// moves when a clock has ticked.
constexpr const char* panelSettings = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="28"/>
      <property name="icon-size" type="uint" value="22"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
        <value type="int" value="3"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="tasklist"/>
    <property name="plugin-2" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-3" type="string" value="systray"/>
  </property>
</channel>
)";

void writePanelSettings(const std::string& home) {
  const std::string folder = home + "/.config/xfce4/xfconf/xfce-perchannel-xml";
  std::filesystem::create_directories(folder);
  std::ofstream(folder + "/xfce4-panel.xml") << panelSettings;
}

}  // namespace

DesktopSession::DesktopSession(const User& user) : UserSession(user) {
  writePanelSettings(homeFolder());
  giveHomeToUser();
  addVariable("XDG_SESSION_TYPE=x11");
  const std::string size = std::to_string(width) + "x" + std::to_string(height) + "x24";
  const std::string number = startWithAnswer(
      {"Xvfb", "-displayfd", "3", "-screen", "0", size, "-nolisten", "tcp", "-noreset"}, server_);
  addVariable("DISPLAY=:" + number);
  startSessionBus();
  // The first key of a display makes it announce its keyboard, at which a window manager lets go of
  // its key bindings and takes them anew: a binding that is pressed right then is lost.
  press("shift");
  screen_ = std::make_unique<Screen>(":" + number);
  windowManager_ = startCommand({"openbox", "--sm-disable"});
  if (!screen_->awaitWindowManager()) {
    throw std::runtime_error("openbox does not come up: " + log());
  }
}

void DesktopSession::startPanel() {
  const auto start = [this] { return startCommand({"xfce4-panel", "--disable-wm-check"}); };
  panel_ = start();
  using RealClock = std::chrono::steady_clock;
  auto started = RealClock::now();
  const auto isUp = [&] {
    // The remains of a panel before it can make a new one end at once, or hang.
    if (!panel_->isRunning() || RealClock::now() - started > panelsPatience) {
      panel_.reset();
      panel_ = start();
      started = RealClock::now();
    }
    return screen_->countWindows("xfce4-panel") > 0;
  };
  if (!screen_->eventually(isUp)) {
    throw std::runtime_error("xfce4-panel does not come up: " + log());
  }
}

// A panel that finds its name taken ends at once.
void DesktopSession::stopPanel() {
  panel_.reset();
  bus().awaitNoOwner("org.xfce.Panel");
  // Its plugins run in processes of their own.
  bus().awaitNoOwner("org.kde.StatusNotifierWatcher");
}

void DesktopSession::startNotificationServer() { notificationServer_ = startCommand({"dunst"}); }

void DesktopSession::click(int x, int y, int button, const std::string& heldKey) {
  std::vector<std::string> command = {"xdotool", "mousemove", std::to_string(x), std::to_string(y)};
  if (!heldKey.empty()) {
    command.insert(command.end(), {"keydown", heldKey});
  }
  command.insert(command.end(), {"click", std::to_string(button)});
  if (!heldKey.empty()) {
    command.insert(command.end(), {"keyup", heldKey});
  }
  run(std::move(command));
}

void DesktopSession::pointTo(int x, int y) {
  run({"xdotool", "mousemove", std::to_string(x), std::to_string(y)});
}

void DesktopSession::press(const std::string& keys) { run({"xdotool", "key", keys}); }

void DesktopSession::keepPicture(const std::string& name) {
  LaunchRequest request{
      "/usr/bin/import", {"-window", "root", pictureFile(name)}, LaunchRequest::Output::inherited};
  request.environment = environment();
  start(request)->waitUntilExit();
}

}  // namespace quillo
