#include "tests/desktop/support/session/UserSession.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "posix/Pipe.h"
#include "posix/Text.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

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

}  // namespace

UserSession::UserSession(const User& user)
    : user_(user),
      home_(user.home.empty() ? ownHome_.emplace().path() : user.home),
      runtime_(home_ + "/.runtime") {
  std::filesystem::create_directory(runtime_);
  std::filesystem::permissions(runtime_, std::filesystem::perms::owner_all);
  addServicesOfTheMachine();
  environment_ = {"HOME=" + home_,      "XDG_RUNTIME_DIR=" + runtime_,
                  "PATH=/usr/bin:/bin", "LC_ALL=C.UTF-8",
                  "NO_AT_BRIDGE=1",     "LSAN_OPTIONS=detect_leaks=0"};
}

UserSession::~UserSession() {
  bus_.reset();
  systemBusDaemon_.reset();
  busDaemon_.reset();
  processes_.end();
  std::error_code ignored;
  std::filesystem::remove_all(runtime_, ignored);
}

void UserSession::giveHomeToUser() {
  if (user_.id == 0) {
    return;
  }
  for (const auto& entry : std::filesystem::recursive_directory_iterator(home_)) {
    [[maybe_unused]] const int ignored = lchown(entry.path().c_str(), user_.id, user_.id);
  }
  [[maybe_unused]] const int ignored = chown(home_.c_str(), user_.id, user_.id);
}

void UserSession::startSessionBus() {
  busAddress_ = startBus("bus", busDaemon_);
  addVariable("DBUS_SESSION_BUS_ADDRESS=" + busAddress_);
  bus_ = std::make_unique<StatusItemBus>(busAddress_);
}

std::string UserSession::pictureFile(const std::string& name) {
  const std::string folder = std::string(QUILLO_BINARY_DIR) + "/screenshots";
  std::filesystem::create_directories(folder);
  return folder + "/" + name + ".png";
}

void UserSession::addServicesOfTheMachine() {
  std::filesystem::create_directory(runtime_ + "/services");
  for (const char* wanted : {"org.xfce.Xfconf.service", "ca.desrt.dconf.service"}) {
    const std::string file = std::string("/usr/share/dbus-1/services/") + wanted;
    if (std::filesystem::exists(file)) {
      std::filesystem::create_symlink(file, runtime_ + "/services/" + wanted);
    }
  }
}

std::string UserSession::startBus(const std::string& name, std::unique_ptr<ChildProcess>& process) {
  const std::string configuration = runtime_ + "/" + name + ".conf";
  std::ofstream(configuration) << replacingAll(
      replacingAll(busConfiguration, "@RUNTIME@", runtime_), "@NAME@", name);
  return startWithAnswer({"dbus-daemon", "--config-file=" + configuration, "--nofork",
                          "--nopidfile", "--print-address=3"},
                         process);
}

std::string UserSession::startSystemBus() { return startBus("system", systemBusDaemon_); }

void UserSession::addService(const std::string& name, const std::string& command) {
  std::ofstream(runtime_ + "/services/" + name + ".service")
      << "[D-BUS Service]\nName=" << name << "\nExec=" << command << "\n";
}

// What the programs have to say goes to a file in the run-time folder.
std::unique_ptr<ChildProcess> UserSession::startCommand(std::vector<std::string> command,
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

std::string UserSession::startWithAnswer(const std::vector<std::string>& command,
                                         std::unique_ptr<ChildProcess>& process) {
  UniqueFd writer;
  PipeReader reader = PipeReader::open(writer);
  process = startCommand(command, writer.get());
  writer.reset();
  return awaitLine(reader);
}

void UserSession::makeDark() {
  const std::string text = "ForegroundNormal=239,240,241\n";
  std::ofstream(homeFolder() + "/.config/kdeglobals")
      << "[Colors:Window]\nBackgroundNormal=35,38,41\n"
      << text << "[Colors:View]\nBackgroundNormal=27,30,32\n"
      << text << "[Colors:Button]\nBackgroundNormal=49,54,59\n"
      << text << "[Colors:Selection]\nBackgroundNormal=61,174,233\nForegroundNormal=252,252,252\n";
}

std::string UserSession::log() const {
  std::ifstream file(runtime_ + "/session.log");
  return {std::istreambuf_iterator<char>(file), {}};
}

void UserSession::run(std::vector<std::string> command) {
  startCommand(std::move(command))->waitUntilExit();
}

ProcessNamespace::ProcessNamespace() : outer_(open("/proc/self/ns/pid", O_RDONLY | O_CLOEXEC)) {
  if (!outer_ || unshare(CLONE_NEWPID) != 0) {
    return;
  }
  // The first process of a namespace takes all others with it.
  first_ = std::make_unique<ChildProcess>(
      LaunchRequest{"/usr/bin/setpriv", {"--pdeathsig", "KILL", "/bin/sleep", "infinity"}});
  inner_.reset(open("/proc/self/ns/pid_for_children", O_RDONLY | O_CLOEXEC));
  setns(outer_.get(), CLONE_NEWPID);
}

ProcessNamespace::~ProcessNamespace() = default;

// A thread whose children go to another namespace cannot start threads, so it is only for this
// moment.
std::unique_ptr<ChildProcess> ProcessNamespace::start(const LaunchRequest& request) {
  if (!inner_) {
    return std::make_unique<ChildProcess>(request);
  }
  setns(inner_.get(), CLONE_NEWPID);
  auto process = std::make_unique<ChildProcess>(request);
  setns(outer_.get(), CLONE_NEWPID);
  return process;
}

}  // namespace quillo
