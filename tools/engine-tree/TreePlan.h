#pragma once

#include <string>
#include <string_view>

#include "posix/Accounts.h"
#include "tools/engine-tree/MachineEngine.h"

namespace quillo {

// Everything that decides what the files of an engine tree say.
struct TreePlan {
  std::string root;
  bool machineWide = false;
  EnginePrograms programs;
  MachineDaemon machine;     // the tree's daemon when it is usable; a private one runs otherwise
  Account account;           // of the private daemon
  bool runsAsRoot = false;   // then clamd and freshclam need the account's name
  std::string socketFolder;  // of the private daemon; kept while the machine's is in use
  std::string scratch;       // for what the private daemon unpacks
  std::string definitions;   // the folder
  std::string definitionsOwner;
  // The user's own lines, from etc/clamd.local and etc/freshclam.local.
  std::string daemonAdditions;
  std::string updaterAdditions;

  bool usesMachineDaemon() const { return machine.usable() && !machine.socket.empty(); }
  std::string socket() const {
    return usesMachineDaemon() ? machine.socket : socketFolder + "/clamd.sock";
  }
};

// The files of ROOT/etc, whole. Pure functions. The user's own lines come first, because ClamAV
// takes an option's first line.

// For clamd, and for whoever looks for its socket: the one line that contains "LocalSocket " is the
// last line, whatever a path or a comment says (some readers know no comments).
std::string clamdConfText(const TreePlan& plan);
std::string freshclamConfText(const TreePlan& plan);
// For bin/clamdscan: the real client, and the configuration of the daemon that answers it.
std::string wrapperConfText(const TreePlan& plan);
// For sbin/clamd, bin/freshclam and the next run.
std::string launchConfText(const TreePlan& plan);

// What launchConfText() wrote.
struct LaunchConf {
  std::string daemon;
  std::string updater;
  bool usesMachineDaemon = false;
  bool machineWide = false;
  std::string socketFolder;
  std::string definitions;
};
LaunchConf parseLaunchConf(std::string_view text);

}  // namespace quillo
