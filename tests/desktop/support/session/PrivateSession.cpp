#include "tests/desktop/support/session/PrivateSession.h"

#include <poll.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "posix/Pipe.h"

namespace quillo {
namespace {

constexpr char configuration[] = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=@FOLDER@/bus</listen>
  <servicedir>@FOLDER@/services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

// One line from the pipe, with a deadline.
std::string lineFrom(PipeReader& reader) {
  std::string line;
  while (line.find('\n') == std::string::npos) {
    pollfd watched = {reader.descriptor(), POLLIN, 0};
    if (poll(&watched, 1, 20000) <= 0) {
      throw std::runtime_error("dbus-daemon did not print its address");
    }
    line += reader.availableData();
    if (reader.atEnd()) {
      throw std::runtime_error("dbus-daemon ended at once");
    }
  }
  return line.substr(0, line.find('\n'));
}

void set(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

}  // namespace

PrivateSession::PrivateSession() {
  char path[] = "/tmp/quillo-desktop-XXXXXX";
  if (mkdtemp(path) == nullptr) {
    throw std::runtime_error("cannot make a folder in /tmp");
  }
  folder_ = path;
  for (const char* name : {"/home", "/runtime", "/services"}) {
    mkdir((folder_ + name).c_str(), 0700);
  }
  set("QUILLO_TEST_SESSION", folder_);
  set("HOME", folder_ + "/home");
  set("XDG_RUNTIME_DIR", folder_ + "/runtime");
  for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_DIRS",
                           "XDG_CURRENT_DESKTOP", "DBUS_STARTER_ADDRESS"}) {
    unsetenv(name);
  }
  set("XDG_DATA_DIRS", folder_ + "/share");
  set("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder_ + "/no-system-bus");
  startBus();
}

PrivateSession::~PrivateSession() {
  bus_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void PrivateSession::startBus() {
  std::string text = configuration;
  for (std::size_t at = text.find("@FOLDER@"); at != std::string::npos;
       at = text.find("@FOLDER@")) {
    text.replace(at, 8, folder_);
  }
  const std::string file = folder_ + "/bus.conf";
  std::ofstream(file) << text;
  UniqueFd writer;
  PipeReader reader = PipeReader::open(writer);
  // It must not outlive a test that is killed.
  bus_ = std::make_unique<ChildProcess>(
      LaunchRequest{.launchPath = "/usr/bin/setpriv",
                    .arguments = {"--pdeathsig", "KILL", "dbus-daemon", "--config-file=" + file,
                                  "--nofork", "--print-address=3"},
                    .output = LaunchRequest::Output::inherited,
                    .descriptorThree = writer.get()});
  writer.reset();
  set("DBUS_SESSION_BUS_ADDRESS", lineFrom(reader));
}

std::string PrivateSession::folder() { return std::getenv("QUILLO_TEST_SESSION"); }

std::string PrivateSession::busAddress() { return std::getenv("DBUS_SESSION_BUS_ADDRESS"); }

}  // namespace quillo
