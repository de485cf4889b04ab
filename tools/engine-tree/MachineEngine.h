#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "clamav/ClamConf.h"
#include "clamav/ControlSocket.h"

namespace quillo {

// Returns $XDG_RUNTIME_DIR (XDG base directories, freedesktop.org).
std::string runtimeFolder();

// Where this machine's ClamAV packages may have put things, the likeliest place first.
struct MachinePlaces {
  std::vector<std::string> daemons = {"/usr/sbin/clamd", "/usr/bin/clamd", "/usr/local/sbin/clamd"};
  std::vector<std::string> clients = {"/usr/bin/clamdscan", "/usr/local/bin/clamdscan"};
  std::vector<std::string> updaters = {"/usr/bin/freshclam", "/usr/local/bin/freshclam"};
  // Debian and Arch, Fedora, and what is built from source.
  std::vector<std::string> daemonConfigurations = {"/etc/clamav/clamd.conf",
                                                   "/etc/clamd.d/scan.conf", "/etc/clamd.conf",
                                                   "/usr/local/etc/clamd.conf"};
  std::string definitions = "/var/lib/clamav";
  std::string osRelease = "/etc/os-release";
  // How long a clamd may take to answer before it counts as silent.
  std::chrono::milliseconds patience = std::chrono::seconds(3);
  std::string processes = "/proc";
  std::string temporary = "/tmp";
  std::string runtime = runtimeFolder();  // the user's; empty when he has none
  std::string appArmorSwitch = "/sys/module/apparmor/parameters/enabled";
  std::string appArmorProfiles = "/etc/apparmor.d";
};

struct EnginePrograms {
  std::string daemon;
  std::string client;
  std::string updater;
};

// Returns the installed programs. Throws PlatformException when one is missing; its reason names
// each missing package and the command that installs it on this distribution.
EnginePrograms installedPrograms(const MachinePlaces& places);

// The machine's own clamd, as its configuration file describes it.
struct MachineDaemon {
  DaemonState state = DaemonState::absent;
  std::string configuration;  // empty when the machine has none
  std::string socket;         // empty when it has no local socket
  std::string account;        // the user that it runs as; empty when it does not say
  ClamConf options;
  // A process of it exists; with an empty `socket` nobody can reach it.
  bool runs = false;

  bool usable() const { return state != DaemonState::absent; }
};

// Returns the first daemon of the machine that answers, else one that runs and is still silent,
// else the first that is configured. Waits for an answer for some seconds at most.
MachineDaemon findMachineDaemon(const MachinePlaces& places);

}  // namespace quillo
