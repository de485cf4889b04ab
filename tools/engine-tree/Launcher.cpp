#include "tools/engine-tree/Launcher.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <future>

#include "clamav/Daemons.h"
#include "posix/ChildProcess.h"
#include "posix/FileFacts.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"
#include "posix/UniqueFd.h"
#include "tools/engine-tree/DaemonWeight.h"
#include "tools/engine-tree/EngineTree.h"
#include "tools/engine-tree/TreeFolder.h"

namespace quillo {
namespace {

// Longer than a reload of all definitions takes; only a daemon that is there is waited for.
constexpr std::chrono::milliseconds reloadPatience = std::chrono::seconds(60);
constexpr std::chrono::hours week(7 * 24);
constexpr int folderNotWritable = 10;  // freshclam(1), RETURN CODES

int replaceBy(const std::string& program, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), program);
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  execv(program.c_str(), argv.data());
  std::fprintf(stderr, "cannot run %s: %s\n", program.c_str(), std::strerror(errno));
  return 1;
}

LaunchConf storedConf(const std::string& root) {
  const std::optional<TreeFolder> etc = TreeFolder::open(root + "/etc");
  return parseLaunchConf(etc ? etc->read("launch.conf").value_or("") : "");
}

// A tree for everyone is root's: another user takes it as it stands.
LaunchConf currentConf(const std::string& root, const MachinePlaces& places,
                       SocketFolderUse use = SocketFolderUse::keep) {
  try {
    return parseLaunchConf(launchConfText(refreshTree(root, places, use)));
  } catch (const PlatformException& failure) {
    std::fprintf(stderr, "engine tree not brought up to date: %s\n", failure.what());
    return storedConf(root);
  }
}

int reportMachineDaemon(const MachinePlaces& places) {
  const MachineDaemon machine = findMachineDaemon(places);
  if (machine.usable()) {
    std::fprintf(stderr, "the machine's own clamd at %s serves this tree\n",
                 machine.socket.c_str());
    return 0;
  }
  std::fprintf(stderr, "the machine's own clamd does not run; an administrator has to start it\n");
  return 1;
}

DaemonState privateDaemon(const LaunchConf& conf) {
  std::vector<uid_t> trusted = {0, geteuid()};
  if (conf.machineWide) {
    trusted.push_back(packagedAccount("").user);
  }
  return pingDaemon(conf.socketFolder + "/clamd.sock", trusted, reloadPatience);
}

// Its file is its account's, which is not to say whose processes root slows down.
std::optional<pid_t> processOfDaemon(const LaunchConf& conf) {
  constexpr std::size_t longestNumber = 32;
  const auto said =
      contentsOfRegularFile(conf.socketFolder + "/clamd.pid", Links::refused, longestNumber);
  const auto process = numberIn<pid_t>(trimmed(said.value_or("")));
  const uid_t account = conf.machineWide ? packagedAccount("").user : geteuid();
  struct stat status = {};
  const bool isTheirs = process && *process > 1 &&
                        stat(("/proc/" + std::to_string(*process)).c_str(), &status) == 0 &&
                        status.st_uid == account;
  return isTheirs ? process : std::nullopt;
}

// Only once it has loaded: until then nobody is guarded.
void takeWeightFromDaemon(const LaunchConf& conf) {
  const std::optional<pid_t> process = processOfDaemon(conf);
  const std::string problem =
      process ? giveWay(*process)
              : conf.socketFolder + "/clamd.pid names no process of its account";
  if (!problem.empty()) {
    std::fprintf(stderr, "clamd does not give way to other programs: %s\n", problem.c_str());
  }
}

// None in somebody else's tree, whose daemon this user does not start anyway.
UniqueFd turnIn(const std::string& root, const std::string& lock) {
  try {
    return TreeFolder::openOrMake(root).subfolder("etc").lock(lock);
  } catch (const PlatformException&) {
    return UniqueFd();
  }
}

// clamd's first process waits for the second one to have loaded, and has been seen to wait for ever
// (1.4), and to be ended by the very signal that tells it so, where that comes before it is ready.
// A daemon that answers has started, whatever becomes of that process.
int awaitDaemon(const LaunchRequest& request, const LaunchConf& conf) {
  constexpr std::chrono::seconds betweenLooks(2);
  ChildProcess daemon(request);
  std::future<int> ended =
      std::async(std::launch::async, [&daemon] { return daemon.waitUntilExit(); });
  while (ended.wait_for(betweenLooks) != std::future_status::ready) {
    if (privateDaemon(conf) == DaemonState::answers) {
      daemon.terminate();
      ended.wait();
      return 0;
    }
  }
  const int status = ended.get();
  return status != 0 && privateDaemon(conf) == DaemonState::answers ? 0 : status;
}

// Two scanners may find the daemon dead at once: the second one waits until the first has started
// it, lest two of them load gigabytes for one socket.
int startOnce(const std::string& root, const std::string& configuration,
              const MachinePlaces& places) {
  const UniqueFd turn = turnIn(root, ".launch");
  LaunchConf conf = storedConf(root);
  const DaemonState state = privateDaemon(conf);
  if (state != DaemonState::absent) {
    std::fprintf(stderr, "clamd at %s/clamd.sock %s\n", conf.socketFolder.c_str(),
                 state == DaemonState::answers ? "runs already" : "runs but does not answer");
    return state == DaemonState::answers ? 0 : 1;
  }
  conf = currentConf(root, places, SocketFolderUse::renew);
  if (conf.usesMachineDaemon) {
    return reportMachineDaemon(places);
  }
  LaunchRequest request;
  request.launchPath = conf.daemon;
  request.arguments = {"-c", configuration};
  request.output = LaunchRequest::Output::inherited;
  const int status = awaitDaemon(request, conf);
  if (status == 0) {
    takeWeightFromDaemon(conf);
  }
  return status;
}

bool mayWrite(const std::string& folder) { return access(folder.c_str(), W_OK | X_OK) == 0; }

int reportDefinitions(const std::string& folder, bool updatedIsOne) {
  const DefinitionSet set = definitionsIn(folder);
  const bool fresh = set.newest && std::chrono::system_clock::now() - *set.newest < week;
  if (!fresh) {
    std::fprintf(stderr,
                 "%s: the definitions there are %s, and only an administrator can renew them "
                 "(see freshclam(1))\n",
                 folder.c_str(), set.newest ? "older than a week" : "missing");
    return folderNotWritable;
  }
  std::printf("The definitions in %s are kept up to date by the machine itself.\n", folder.c_str());
  return updatedIsOne ? 0 : 1;
}

// freshclam fails when another one holds its log, so two that come together go one after the other.
// The program that replaces this process has the descriptor, and with it the lock, until it ends.
void waitForTurn(const std::string& root) {
  const int turn = turnIn(root, ".update").release();
  if (turn >= 0) {
    fcntl(turn, F_SETFD, 0);
  }
}

}  // namespace

int launchDaemon(const std::string& root, const std::vector<std::string>& arguments,
                 const MachinePlaces& places) {
  const std::string ours = root + "/etc/clamd.conf";
  std::vector<std::string> words = {"clamd"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  const std::string asked = configurationOption(words);
  if (!asked.empty() && asked != ours) {
    return replaceBy(storedConf(root).daemon, arguments);
  }
  const LaunchConf conf = currentConf(root, places);
  const bool plain = arguments.empty() || (!asked.empty() && arguments.size() <= 2);
  if (!plain) {
    if (asked.empty()) {
      words.insert(words.end(), {"-c", ours});
    }
    return replaceBy(conf.daemon, {words.begin() + 1, words.end()});
  }
  return conf.usesMachineDaemon ? reportMachineDaemon(places) : startOnce(root, ours, places);
}

int launchUpdater(const std::string& root, const std::vector<std::string>& arguments) {
  const LaunchConf conf = storedConf(root);
  if (!mayWrite(conf.definitions)) {
    const bool updatedIsOne = std::find(arguments.begin(), arguments.end(),
                                        "--on-update-execute=EXIT_1") != arguments.end();
    return reportDefinitions(conf.definitions, updatedIsOne);
  }
  std::vector<std::string> words = {"--config-file=" + root + "/etc/freshclam.conf"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  waitForTurn(root);
  return replaceBy(conf.updater, words);
}

std::string rootOfProgram(const std::string& program) {
  return deletingLastPathComponent(deletingLastPathComponent(program));
}

}  // namespace quillo
