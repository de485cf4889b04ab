#include <unistd.h>

#include "clamav/ControlSocket.h"
#include "tools/engine-tree/AppArmor.h"
#include "tools/engine-tree/EngineTree.h"
#include "tools/engine-tree/TreeFolder.h"

namespace quillo {
namespace {

std::string daemonLine(const TreePlan& plan) {
  if (plan.usesMachineDaemon()) {
    return "Daemon: the machine's own clamd at " + plan.socket() +
           (plan.machine.state == DaemonState::answers
                ? " answers"
                : " runs but does not answer yet (it may be loading its definitions)");
  }
  return "Daemon: a private clamd, started by the agent, socket " + plan.socket();
}

std::string definitionsLine(const TreePlan& plan) {
  if (plan.definitions != plan.root + "/db") {
    return "Definitions: the machine's own in " + plan.definitions;
  }
  if (definitionsIn(plan.definitions).any()) {
    return "Definitions: " + plan.definitions;
  }
  return "Definitions: only the built-in one of the EICAR test file; \"" + plan.root +
         "/bin/freshclam\" downloads the real ones";
}

std::vector<uid_t> trustedUsers(const LaunchConf& launch, const MachineDaemon& machine) {
  std::vector<uid_t> users = {0, geteuid()};
  if (launch.machineWide || launch.usesMachineDaemon) {
    users.push_back(packagedAccount(machine.account).user);
  }
  return users;
}

// As those who built them say; nothing where nobody says.
std::chrono::hours ageOfDefinitions(const std::string& folder) {
  const auto now = std::chrono::system_clock::now();
  return std::chrono::duration_cast<std::chrono::hours>(now -
                                                        definitionsBuiltIn(folder).value_or(now));
}

void checkDaemon(const TreeFolder& etc, const MachinePlaces& places,
                 std::vector<std::string>& reasons) {
  const LaunchConf launch = parseLaunchConf(etc.read("launch.conf").value_or(""));
  const ClamConf conf = ClamConf::parse(etc.read("clamd.conf").value_or(""));
  const std::string socket = conf.value("LocalSocket");
  const MachineDaemon machine = findMachineDaemon(places);
  if (pingDaemon(socket, trustedUsers(launch, machine), places.patience) != DaemonState::answers) {
    reasons.push_back("no clamd answers at " + (socket.empty() ? "any socket" : socket));
  }
  const std::string definitions = conf.value("DatabaseDirectory");
  if (!definitionsIn(definitions).any()) {
    reasons.push_back("no real definitions in " + (definitions.empty() ? "the tree" : definitions));
  } else if (const auto age = ageOfDefinitions(definitions); age > definitionsOldAfter) {
    reasons.push_back("the definitions in " + definitions + " are " +
                      std::to_string(age / std::chrono::hours(24)) + " days old");
  }
}

}  // namespace

std::vector<std::string> describe(const TreePlan& plan, const TreeRequest& request) {
  std::vector<std::string> lines = {"Engine tree: " + plan.root, daemonLine(plan),
                                    definitionsLine(plan)};
  if (plan.machine.runs && plan.machine.socket.empty()) {
    lines.push_back("Note: the machine's clamd runs without a local socket; give " +
                    plan.machine.configuration +
                    " a LocalSocket line, or stop it, so that files can be scanned");
  }
  for (std::string& hint : confinementHints(plan, request.places, request.toolFolder)) {
    lines.push_back(std::move(hint));
  }
  return lines;
}

std::vector<std::string> checkTree(const std::string& root, const MachinePlaces& places) {
  std::vector<std::string> reasons;
  for (const char* program : {"/bin/clamdscan", "/bin/freshclam", "/sbin/clamd"}) {
    if (access((root + program).c_str(), X_OK) != 0) {
      reasons.push_back("there is no program " + root + program);
    }
  }
  const std::optional<TreeFolder> etc = TreeFolder::open(root + "/etc");
  for (const char* file : {"clamd.conf", "freshclam.conf", "front.conf", "launch.conf"}) {
    if (!etc || !etc->read(file)) {
      reasons.push_back("there is no file " + root + "/etc/" + file);
    }
  }
  if (etc) {
    checkDaemon(*etc, places, reasons);
  }
  return reasons;
}

}  // namespace quillo
