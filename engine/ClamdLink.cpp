#include "engine/ClamdLink.h"

#include <unistd.h>

#include <chrono>
#include <memory>
#include <system_error>
#include <utility>

#include "clamav/ClamConf.h"
#include "clamav/ControlSocket.h"
#include "clamav/DaemonVersion.h"
#include "clamav/Definitions.h"
#include "clamav/ScratchFolder.h"
#include "platform/Application.h"
#include "platform/LocalizedStrings.h"
#include "platform/Notifier.h"
#include "platform/SystemLog.h"
#include "posix/ChildProcess.h"
#include "posix/FileFacts.h"
#include "posix/Mutex.h"
#include "posix/PlatformException.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

constexpr int failedStatus = 1;
constexpr const char* fallbackSocket = "/tmp/clamd.socket";
constexpr const char* quitCommand = "QUIT";
constexpr const char* markName = "VANTREL_QUILLO_LAUNCH";
// To be let in by a daemon whose queue of callers is full.
constexpr std::chrono::milliseconds longestConnect = std::chrono::seconds(1);
constexpr std::chrono::milliseconds longestVersion = std::chrono::seconds(5);

// Of this process alone, also when another one gets its number later.
std::string freshMark() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
  return markName + ("=" + std::to_string(getpid())) + "." + std::to_string(now);
}

std::optional<LocalSocketLine> socketLineOf(const std::optional<std::string>& configuration) {
  const auto bytes = configuration ? ClamConf::bytesOf(*configuration) : std::nullopt;
  return bytes ? std::optional<LocalSocketLine>(discernLocalSocket(*bytes)) : std::nullopt;
}

}  // namespace

// A command on its way to the daemon. Shared with the thread that carries it, which may outlast the
// caller's patience by as long as the daemon pleases, and with whoever has the same command to send
// meanwhile.
struct ClamdLink::Exchange {
  explicit Exchange(Clock& clock) : done(clock) {}
  bool isOver() {
    done.lock();
    const bool over = taken.has_value();
    done.unlock();
    return over;
  }
  void end(bool wasTaken) {
    done.lock();
    taken = wasTaken;
    done.signal();
    done.unlock();
  }
  Condition done;
  std::optional<bool> taken QUILLO_GUARDED_BY(done);
};

ClamdLink::ClamdLink(ClamdLinkOwner& owner, const ClamdLinkServices& services)
    : owner_(owner), services_(services), clamdController(services.systemLog), mark_(freshMark()) {}

ClamdLink::~ClamdLink() = default;

bool ClamdLink::checkForClamd() {
  std::optional<RunningDaemon> daemon = services_.findDaemon();
  if (!daemon) {
    return false;
  }
  if (!daemon->program.empty()) {
    setDaemonPaths(std::move(daemon->program), std::move(daemon->configuration));
  } else if (Paths ours = pathsOfInstallation(); ours.clamdPATH) {
    services_.systemLog.log("The process list shows no clamd that could be started again; " +
                            *ours.clamdPATH + " will be started instead if clamd is lost");
    setDaemonPaths(std::move(ours.clamdPATH), daemon->configuration
                                                  ? std::move(daemon->configuration)
                                                  : std::move(ours.clamdConfPATH));
  }
  return true;
}

bool ClamdLink::launchClamdWithConfigFile(const std::string& program,
                                          const std::optional<std::string>& configuration) {
  LaunchRequest request{program, {}, LaunchRequest::Output::inherited};
  if (configuration) {
    request.arguments = {"-c", *configuration};
  }
  request.environment = environmentWith(markName, mark_.substr(mark_.find('=') + 1));
  const std::shared_ptr<ChildProcess> daemon = beginLaunch(request);
  if (!daemon) {
    return false;
  }
  struct Launching {
    ClamdLink& link;
    const std::shared_ptr<ChildProcess>& daemon;
    ~Launching() {
      MutexLock hold(link.lock_);
      std::erase(link.launching_, daemon);
    }
  } launching{*this, daemon};
  services_.application.waitKeepingDesktopAlive([&daemon] { daemon->waitUntilExit(); });
  return daemon->terminationStatus() != failedStatus;
}

std::shared_ptr<ChildProcess> ClamdLink::beginLaunch(const LaunchRequest& request) {
  // In one hold, so that whoever ends the launches misses none.
  MutexLock hold(lock_);
  if (launchesNoMore_) {
    return nullptr;
  }
  return launching_.emplace_back(std::make_shared<ChildProcess>(request));
}

bool ClamdLink::launchNoMore() {
  MutexLock hold(lock_);
  launchesNoMore_ = true;
  return !launching_.empty();
}

void ClamdLink::awaitRecovery() { MutexLock ended(recovery_); }

void ClamdLink::abandonLaunch() {
  MutexLock hold(lock_);
  for (const auto& daemon : launching_) {
    services_.systemLog.log("giving up on clamd, which has not started");
    daemon->terminate();
  }
  if (!launching_.empty()) {
    // What was launched may be a launcher, and clamd loads in a session of its own.
    endMarkedProcesses(mark_);
  }
}

ClamdLink::Paths ClamdLink::pathsOfInstallation() {
  const std::optional<std::string> root = owner_.clamPATH();
  return root ? Paths{*root + "/sbin/clamd", *root + "/etc/clamd.conf", std::nullopt} : Paths();
}

std::optional<std::string> ClamdLink::configurationFile() {
  if (auto configured = clamdConfPATH()) {
    return configured;
  }
  std::optional<std::string> ofInstallation = pathsOfInstallation().clamdConfPATH;
  return ofInstallation && fileExists(*ofInstallation) ? ofInstallation : std::nullopt;
}

std::vector<uid_t> ClamdLink::trustedUsers() {
  const auto file = configurationFile();
  const auto configuration = file ? ClamConf::read(*file) : std::nullopt;
  return trustedDaemonUsers(configuration ? configuration->value("User") : "");
}

pid_t ClamdLink::listenerAt(const std::optional<std::string>& socket) {
  if (!socket) {
    return 0;
  }
  const DaemonConnection daemon = connectToDaemon(*socket, trustedUsers(), longestConnect);
  return daemon.socket ? peerProcess(daemon.socket.get()) : 0;
}

bool ClamdLink::isServedByAnother() {
  const auto line = socketLineOf(configurationFile());
  const pid_t listener = listenerAt(line && line->path ? line->path : clamdSocket());
  return listener != 0 && !services_.isMarked(listener, mark_);
}

void ClamdLink::discernClamdSocketLocation() {
  const LocalSocketLine line = socketLineOf(configurationFile()).value_or(LocalSocketLine());
  services_.systemLog.log("clamdconfEncoding: " + std::to_string(line.encoding));
  MutexLock hold(lock_);
  if (line.path) {
    paths_.clamdSocket = line.path;
  }
  if (!paths_.clamdSocket) {
    services_.systemLog.log(
        std::string("Please email this line to ") + supportAddress +
        " >After trying again, _clamdSocket == nil, hard-coding it instead. < Please also include "
        "the file at /usr/local/vantrel/etc/clamd.conf");
    paths_.clamdSocket = fallbackSocket;
  }
}

std::string ClamdLink::definitionFolder() {
  const auto file = configurationFile();
  const auto configuration = file ? ClamConf::read(*file) : std::nullopt;
  return configuration ? configuration->value("DatabaseDirectory") : "";
}

bool ClamdLink::hasRealDefinitions() {
  const std::string folder = definitionFolder();
  return folder.empty() || holdsRealDefinitions(folder);
}

LoadedDefinitions ClamdLink::loadedDefinitions() {
  const std::optional<std::string> socket = clamdSocket();
  const auto version =
      socket ? askDaemonVersion(*socket, trustedUsers(), longestVersion) : std::nullopt;
  const std::string folder = definitionFolder();
  if (version && version->definitions) {
    return {true, version->definitions, folder};
  }
  if (folder.empty()) {
    return {};
  }
  // A daemon does not number definitions other than main and daily, whoever made them.
  const bool notLoadedYet = version && definitionsIn(folder).any();
  return {!notLoadedYet && holdsRealDefinitions(folder), definitionsBuiltIn(folder), folder};
}

ClamdCtrl::Peers ClamdLink::peersFor(const std::string& command) {
  ClamdCtrl::Peers peers{trustedUsers()};
  if (command == quitCommand) {
    peers.isMeant = [isMarked = services_.isMarked, mark = mark_](pid_t process) {
      return isMarked(process, mark);
    };
  }
  return peers;
}

std::shared_ptr<ClamdLink::Exchange> ClamdLink::begin(const std::string& command) {
  const std::optional<std::string> socket = clamdSocket();
  std::shared_ptr<Exchange> shared;
  {
    MutexLock hold(lock_);
    std::shared_ptr<Exchange>& known = exchanges_[command + " " + socket.value_or("")];
    if (known && !known->isOver()) {
      return known;
    }
    known = shared = std::make_shared<Exchange>(services_.clock);
  }
  auto carry = [shared, command, socket, peers = peersFor(command),
                controller = clamdController]() mutable {
    try {
      shared->end(controller.communicateWithSocketWithCommand(socket, command, peers));
    } catch (...) {
      shared->end(false);
      throw;
    }
  };
  try {
    services_.threads.detachNewThread("clamd " + command, carry);
  } catch (const std::system_error&) {
    // No thread is to be had: rather wait for the daemon than leave it without the command.
    carry();
  }
  return shared;
}

std::optional<bool> ClamdLink::exchange(const std::string& command) {
  const std::shared_ptr<Exchange> shared = begin(command);
  const Clock::Duration deadline = services_.clock.now() + longestAnswer;
  shared->done.lock();
  while (!shared->taken && services_.clock.now() < deadline) {
    shared->done.wait();
  }
  const std::optional<bool> taken = shared->taken;
  shared->done.signal();  // it wakes one, and several may wait for one answer
  shared->done.unlock();
  return taken;
}

bool ClamdLink::clamdStillAlive() {
  if (const std::optional<bool> taken = exchange("PING")) {
    return *taken;
  }
  // One that reloads its definitions, or whose queue is full, answers later; a stopped one never.
  return isProcessAtWork(listenerAt(clamdSocket()));
}

void ClamdLink::quitClamd() { exchange(quitCommand); }

bool ClamdLink::relaunch(const Paths& known) {
  const Paths ours = pathsOfInstallation();
  const bool hasOther = ours.clamdPATH && (ours.clamdPATH != known.clamdPATH ||
                                           ours.clamdConfPATH != known.clamdConfPATH);
  try {
    const bool isUp = launchClamdWithConfigFile(*known.clamdPATH, known.clamdConfPATH);
    if (isUp || !hasOther) {
      return isUp;
    }
  } catch (const PlatformException& failure) {
    if (!hasOther) {
      throw;
    }
    services_.systemLog.log("Cannot launch " + *known.clamdPATH + ": " + failure.reason());
  }
  return launchClamdWithConfigFile(*ours.clamdPATH, ours.clamdConfPATH);
}

bool ClamdLink::canUnpack() {
  const std::optional<std::string> installation = owner_.clamPATH();
  return !installation || ScratchFolder(configurationBehind(*installation), services_.clock)
                              .reason(services_.clock.now())
                              .empty();
}

bool ClamdLink::recoverFromCrashedClamd() {
  const Paths known = paths();
  if (!known.clamdPATH) {
    services_.systemLog.log("clamd cannot be restarted: watching has been stopped");
    return true;
  }
  MutexLock one(recovery_);
  return relaunch(known);
}

bool ClamdLink::recoverUnreachableClamd() {
  const Paths known = paths();
  if (!known.clamdPATH) {
    return true;
  }
  MutexLock one(recovery_);
  return clamdStillAlive() || relaunch(known);
}

void ClamdLink::noEnginePanic(const EngineProblem& problem) {
  NotificationDetails details;
  details.topic = engineTopic;
  // The button may outlive this object, not what it refers to.
  details.buttons.push_back({services_.localizedStrings.stringForKey("NOTIFICATION_VANTREL", ""),
                             [&owner = owner_] { owner.showWhatMends(); }});
  services_.notifier.displayGrowlDialogWithTitleAndDescription(
      notificationError, services_.localizedStrings.stringForKey("CLAMDSCAN_ERROR", ""), details);
  owner_.displayNoEngineWindow(problem);
}

void ClamdLink::setDaemonPaths(std::optional<std::string> clamdPATH,
                               std::optional<std::string> clamdConfPATH) {
  MutexLock hold(lock_);
  paths_.clamdPATH = std::move(clamdPATH);
  paths_.clamdConfPATH = std::move(clamdConfPATH);
}

ClamdLink::Paths ClamdLink::paths() {
  MutexLock hold(lock_);
  return paths_;
}

std::optional<std::string> ClamdLink::clamdPATH() { return paths().clamdPATH; }
std::optional<std::string> ClamdLink::clamdConfPATH() { return paths().clamdConfPATH; }
std::optional<std::string> ClamdLink::clamdSocket() { return paths().clamdSocket; }

}  // namespace quillo
