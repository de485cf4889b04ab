#include "tests/desktop/support/session/PrivateSession.h"

#include <sys/stat.h>

#include <cstdlib>

#include "posix/Pipe.h"
#include "posix/Text.h"
#include "tests/support/Waiting.h"

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

void set(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

}  // namespace

PrivateSession::PrivateSession() {
  for (const char* name : {"home", "runtime", "services"}) {
    mkdir(folder_.at(name).c_str(), 0700);
  }
  set("QUILLO_TEST_SESSION", folder_.path());
  set("HOME", folder_.at("home"));
  set("XDG_RUNTIME_DIR", folder_.at("runtime"));
  for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_DIRS",
                           "XDG_CURRENT_DESKTOP", "DBUS_STARTER_ADDRESS"}) {
    unsetenv(name);
  }
  set("XDG_DATA_DIRS", folder_.at("share"));
  set("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder_.at("no-system-bus"));
  startBus();
}

void PrivateSession::startBus() {
  const std::string file =
      folder_.write("bus.conf", replacingAll(configuration, "@FOLDER@", folder_.path()));
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
  set("DBUS_SESSION_BUS_ADDRESS", awaitLine(reader));
}

std::string PrivateSession::folder() { return std::getenv("QUILLO_TEST_SESSION"); }

std::string PrivateSession::busAddress() { return std::getenv("DBUS_SESSION_BUS_ADDRESS"); }

}  // namespace quillo
