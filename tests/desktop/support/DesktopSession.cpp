#include "tests/desktop/support/DesktopSession.h"

#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "posix/Pipe.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr int patienceInMilliseconds = 20000;
constexpr auto panelsPatience = std::chrono::seconds(5);

std::string temporaryHome() {
  std::string path = (std::filesystem::temp_directory_path() / "quillo-desktop-XXXXXX").string();
  if (!mkdtemp(path.data())) {
    throw std::runtime_error("cannot make a folder like " + path);
  }
  return path;
}

// The session bus of one user, whom root may call too. A notification server is not started on
// demand: whether there is one is for the test to say.
constexpr const char* busConfiguration = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=@RUNTIME@/@NAME@</listen>
  <auth>EXTERNAL</auth>
  <servicedir>@RUNTIME@/services</servicedir>
  <policy context="default">
    <allow user="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

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

void giveTo(uid_t user, const std::string& folder) {
  if (user == 0) {
    return;
  }
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    [[maybe_unused]] const int ignored = lchown(entry.path().c_str(), user, user);
  }
  [[maybe_unused]] const int ignored = chown(folder.c_str(), user, user);
}

}  // namespace

DesktopSession::DesktopSession(const User& user)
    : user_(user),
      home_(user.home.empty() ? temporaryHome() : user.home),
      runtime_(home_ + "/.runtime") {
  std::filesystem::create_directory(runtime_);
  std::filesystem::permissions(runtime_, std::filesystem::perms::owner_all);
  writePanelSettings(home_);
  addServicesOfTheMachine();
  giveTo(user_.id, home_);
  environment_ = {"HOME=" + home_,
                  "XDG_RUNTIME_DIR=" + runtime_,
                  "PATH=/usr/bin:/bin",
                  "LC_ALL=C.UTF-8",
                  "XDG_SESSION_TYPE=x11",
                  "NO_AT_BRIDGE=1",
                  "LSAN_OPTIONS=detect_leaks=0"};
  const std::string size = std::to_string(width) + "x" + std::to_string(height) + "x24";
  const std::string number = startWithAnswer(
      {"Xvfb", "-displayfd", "3", "-screen", "0", size, "-nolisten", "tcp", "-noreset"}, server_);
  environment_.push_back("DISPLAY=:" + number);
  busAddress_ = startBus("bus", busDaemon_);
  environment_.push_back("DBUS_SESSION_BUS_ADDRESS=" + busAddress_);
  screen_ = std::make_unique<Screen>(":" + number);
  bus_ = std::make_unique<SessionBus>(busAddress_);
  windowManager_ = startCommand({"openbox", "--sm-disable"});
  if (!screen_->awaitWindowManager()) {
    throw std::runtime_error("openbox does not come up: " + log());
  }
}

DesktopSession::~DesktopSession() {
  notificationServer_.reset();
  panel_.reset();
  windowManager_.reset();
  screen_.reset();
  bus_.reset();
  systemBusDaemon_.reset();
  busDaemon_.reset();
  server_.reset();
  processes_.end();
  std::error_code ignored;
  std::filesystem::remove_all(user_.home.empty() ? home_ : runtime_, ignored);
}

void DesktopSession::addServicesOfTheMachine() {
  std::filesystem::create_directory(runtime_ + "/services");
  for (const char* wanted : {"org.xfce.Xfconf.service", "ca.desrt.dconf.service"}) {
    const std::string file = std::string("/usr/share/dbus-1/services/") + wanted;
    if (std::filesystem::exists(file)) {
      std::filesystem::create_symlink(file, runtime_ + "/services/" + wanted);
    }
  }
}

std::string DesktopSession::startBus(const std::string& name,
                                     std::unique_ptr<ChildProcess>& process) {
  const std::string configuration = runtime_ + "/" + name + ".conf";
  std::ofstream(configuration) << replacingAll(
      replacingAll(busConfiguration, "@RUNTIME@", runtime_), "@NAME@", name);
  return startWithAnswer({"dbus-daemon", "--config-file=" + configuration, "--nofork",
                          "--nopidfile", "--print-address=3"},
                         process);
}

std::string DesktopSession::startSystemBus() { return startBus("system", systemBusDaemon_); }

void DesktopSession::addService(const std::string& name, const std::string& command) {
  std::ofstream(runtime_ + "/services/" + name + ".service")
      << "[D-BUS Service]\nName=" << name << "\nExec=" << command << "\n";
}

// What the programs have to say goes to a file in the run-time folder.
std::unique_ptr<ChildProcess> DesktopSession::startCommand(std::vector<std::string> command,
                                                           int descriptorThree) {
  command.insert(command.begin(),
                 {"-c", "exec \"$@\" >>\"$XDG_RUNTIME_DIR/session.log\" 2>&1", "session"});
  command.insert(command.begin(), "/bin/sh");
  if (user_.id != 0) {
    const std::string id = std::to_string(user_.id);
    command.insert(command.begin(),
                   {"/usr/bin/setpriv", "--reuid=" + id, "--regid=" + id, "--clear-groups"});
  }
  LaunchRequest request{
      command.front(), {command.begin() + 1, command.end()}, LaunchRequest::Output::inherited};
  request.environment = environment_;
  request.descriptorThree = descriptorThree;
  return processes_.start(request);
}

// Both servers write to descriptor 3 how to reach them, as soon as that is possible.
std::string DesktopSession::startWithAnswer(const std::vector<std::string>& command,
                                            std::unique_ptr<ChildProcess>& process) {
  UniqueFd writer;
  PipeReader reader = PipeReader::open(writer);
  process = startCommand(command, writer.get());
  writer.reset();
  std::string answer;
  while (answer.find('\n') == std::string::npos) {
    pollfd descriptor = {reader.descriptor(), POLLIN, 0};
    if (poll(&descriptor, 1, patienceInMilliseconds) <= 0) {
      throw std::runtime_error(command[0] + " does not come up");
    }
    answer += reader.availableData();
    if (reader.atEnd()) {
      throw std::runtime_error(command[0] + " cannot be started");
    }
  }
  return answer.substr(0, answer.find('\n'));
}

std::string DesktopSession::log() const {
  std::ifstream file(runtime_ + "/session.log");
  return {std::istreambuf_iterator<char>(file), {}};
}

void DesktopSession::run(std::vector<std::string> command) {
  startCommand(std::move(command))->waitUntilExit();
}

void DesktopSession::startPanel() {
  const auto start = [this] { return startCommand({"xfce4-panel", "--disable-wm-check"}); };
  panel_ = start();
  using Clock = std::chrono::steady_clock;
  auto started = Clock::now();
  const auto isUp = [&] {
    // The remains of a panel before it can make a new one end at once, or hang.
    if (!panel_->isRunning() || Clock::now() - started > panelsPatience) {
      panel_.reset();
      panel_ = start();
      started = Clock::now();
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
  bus_->awaitNoOwner("org.xfce.Panel");
  // Its plugins run in processes of their own.
  bus_->awaitNoOwner("org.kde.StatusNotifierWatcher");
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

void DesktopSession::makeDark() {
  const std::string dark = "BackgroundNormal=35,38,41\nForegroundNormal=239,240,241\n";
  std::ofstream(home_ + "/.config/kdeglobals")
      << "[Colors:Window]\n"
      << dark << "[Colors:View]\n"
      << dark << "[Colors:Button]\n"
      << dark << "[Colors:Selection]\nBackgroundNormal=61,174,233\nForegroundNormal=252,252,252\n";
}

void DesktopSession::keepPicture(const std::string& name) {
  const std::string folder = std::string(QUILLO_BINARY_DIR) + "/screenshots";
  std::filesystem::create_directories(folder);
  LaunchRequest request{"/usr/bin/import",
                        {"-window", "root", folder + "/" + name + ".png"},
                        LaunchRequest::Output::inherited};
  request.environment = environment_;
  start(request)->waitUntilExit();
}

}  // namespace quillo
