#include "tools/engine-tree/TreePlan.h"

#include <array>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr char header[] =
    "# Written by vantrel-engine-tree, which makes this file anew at every run. Lines of your own\n"
    "# belong in clamd.local and freshclam.local beside it.\n";

// What bounds a scan; the client wrapper and a user want to know the answering daemon's own values.
constexpr std::array<const char*, 9> limits = {
    "AlertExceedsMax", "MaxScanTime",     "MaxScanSize",           "MaxFileSize",    "MaxRecursion",
    "MaxFiles",        "PCREMaxFileSize", "MaxDirectoryRecursion", "StreamMaxLength"};

void addLine(std::string& text, std::string_view option, std::string_view argument) {
  text += option;
  text += ' ';
  text += argument;
  text += '\n';
}

// Paths may hold blanks; ClamAV takes a quoted argument as a whole.
void addPath(std::string& text, std::string_view option, const std::string& path) {
  addLine(text, option, path.find(' ') == std::string::npos ? path : "\"" + path + "\"");
}

// The socket is not the user's to choose: see SocketFolder.h.
void addAdditions(std::string& text, const std::string& additions) {
  for (const std::string_view line : split(additions, '\n')) {
    if (!trimmed(line).empty() && line.find("LocalSocket") == std::string_view::npos) {
      text += line;
      text += '\n';
    }
  }
}

void addMachineOptions(std::string& text, const MachineDaemon& machine) {
  text += "# The machine's own clamd answers; it reads " + machine.configuration + ".\n";
  if (!machine.account.empty()) {
    addLine(text, "User", machine.account);  // whose socket may be trusted
  }
  for (const char* limit : limits) {
    if (machine.options.has(limit)) {
      addLine(text, limit, machine.options.value(limit));
    }
  }
}

void addPrivateOptions(std::string& text, const TreePlan& plan) {
  addAdditions(text, plan.daemonAdditions);
  addPath(text, "PidFile", plan.socketFolder + "/clamd.pid");
  if (!plan.scratch.empty()) {
    addPath(text, "TemporaryDirectory", plan.scratch);
  }
  if (plan.runsAsRoot && !plan.account.name.empty()) {
    addLine(text, "User", plan.account.name);
  }
  addLine(text, "LocalSocketMode", plan.machineWide ? "666" : "600");
  text +=
      "FixStaleSocket yes\n"
      "LogSyslog yes\n"
      // A second copy of the definitions during a reload would cost more than a gigabyte.
      "ConcurrentDatabaseReload no\n"
      // Such a reload begins when the idle threads have ended; nothing is scanned until then.
      "IdleTimeout 1\n"
      // What is too big to be looked at is to be said, not to be called clean.
      "AlertExceedsMax yes\n"
      // As much as the engine takes: more would be a warning at every start. What is unpacked
      // counts with what it was packed in. Half an hour is what it takes a slow machine (see
      // docs/adr/0027-files-of-two-gigabytes.md).
      "MaxScanTime 1800000\n"
      "MaxScanSize 4G\n"
      "MaxFileSize 2147483645\n"
      "PCREMaxFileSize 2147483645\n"
      "StreamMaxLength 2147483645\n"
      "MaxRecursion 17\n"
      "MaxFiles 10000\n";
}

}  // namespace

std::string clamdConfText(const TreePlan& plan) {
  std::string text = header;
  if (plan.usesMachineDaemon()) {
    addMachineOptions(text, plan.machine);
  } else {
    addPrivateOptions(text, plan);
  }
  addPath(text, "DatabaseDirectory", plan.definitions);
  // Unquoted, for readers that take the rest of the line as it stands.
  addLine(text, "LocalSocket", plan.socket());
  return text;
}

std::string freshclamConfText(const TreePlan& plan) {
  std::string text = header;
  addAdditions(text, plan.updaterAdditions);
  addPath(text, "DatabaseDirectory", plan.definitions);
  if (plan.runsAsRoot && !plan.definitionsOwner.empty()) {
    addLine(text, "DatabaseOwner", plan.definitionsOwner);
  }
  addLine(text, "DatabaseMirror", "database.clamav.net");
  addPath(text, "NotifyClamd", plan.root + "/etc/clamd.conf");
  return text;
}

std::string wrapperConfText(const TreePlan& plan) {
  std::string text = header;
  addLine(text, "RealClient", plan.programs.client);
  addLine(text, "DaemonConfig",
          plan.usesMachineDaemon() ? plan.machine.configuration : plan.root + "/etc/clamd.conf");
  return text;
}

std::string launchConfText(const TreePlan& plan) {
  std::string text = header;
  addLine(text, "RealDaemon", plan.programs.daemon);
  addLine(text, "RealUpdater", plan.programs.updater);
  addLine(text, "Daemon", plan.usesMachineDaemon() ? "machine" : "private");
  addLine(text, "Scope", plan.machineWide ? "machine" : "user");
  addLine(text, "SocketFolder", plan.socketFolder);
  addLine(text, "Definitions", plan.definitions);
  return text;
}

LaunchConf parseLaunchConf(std::string_view text) {
  const ClamConf conf = ClamConf::parse(text);
  LaunchConf launch;
  launch.daemon = conf.value("RealDaemon");
  launch.updater = conf.value("RealUpdater");
  launch.usesMachineDaemon = conf.value("Daemon") == "machine";
  launch.machineWide = conf.value("Scope") == "machine";
  launch.socketFolder = conf.value("SocketFolder");
  launch.definitions = conf.value("Definitions");
  return launch;
}

}  // namespace quillo
