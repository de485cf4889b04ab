#include "engine/ClamdLink.h"

#include <memory>
#include <system_error>
#include <utility>

#include "clamav/ClamConf.h"
#include "clamav/Definitions.h"
#include "clamav/LocalSocketLine.h"
#include "platform/LocalizedStrings.h"
#include "platform/SystemLog.h"
#include "posix/ChildProcess.h"
#include "posix/Condition.h"
#include "posix/FileFacts.h"
#include "posix/PlatformException.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

constexpr int failedStatus = 1;
constexpr const char* fallbackSocket = "/tmp/clamd.socket";

}  // namespace

// A command on its way to the daemon. Shared with the thread that carries it, which may outlast the
// caller's patience by as long as the daemon pleases.
struct ClamdLink::Exchange {
  explicit Exchange(Clock& clock) : done(clock) {}
  Condition done;
  std::optional<bool> taken QUILLO_GUARDED_BY(done);
};

ClamdLink::ClamdLink(ClamdLinkOwner& owner, const ClamdLinkServices& services)
    : owner_(owner), services_(services), clamdController(services.systemLog) {}

ClamdLink::~ClamdLink() = default;

bool ClamdLink::checkForClamd() {
  std::optional<RunningDaemon> daemon = services_.findDaemon();
  if (!daemon) {
    return false;
  }
  if (daemon->program.empty()) {
    return true;
  }
  setDaemonPaths(std::move(daemon->program), std::move(daemon->configuration));
  return true;
}

bool ClamdLink::launchClamdWithConfigFile(const std::string& program,
                                          const std::optional<std::string>& configuration) {
  LaunchRequest request{program, {}, LaunchRequest::Output::inherited};
  if (configuration) {
    request.arguments = {"-c", *configuration};
  }
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
  owner_.waitKeepingDesktopAlive([&daemon] { daemon->waitUntilExit(); });
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
}

std::optional<std::string> ClamdLink::configurationFile() {
  if (auto configured = clamdConfPATH()) {
    return configured;
  }
  std::optional<std::string> ofInstallation = owner_.clamPATH();
  if (ofInstallation) {
    *ofInstallation += "/etc/clamd.conf";
  }
  return ofInstallation && fileExists(*ofInstallation) ? ofInstallation : std::nullopt;
}

void ClamdLink::discernClamdSocketLocation() {
  LocalSocketLine line;
  if (const auto file = configurationFile()) {
    if (const auto bytes = contentsOfFile(*file)) {
      line = discernLocalSocket(*bytes);
    }
  }
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

bool ClamdLink::hasRealDefinitions() {
  const auto file = configurationFile();
  const auto configuration = file ? ClamConf::read(*file) : std::nullopt;
  const std::string folder = configuration ? configuration->value("DatabaseDirectory") : "";
  return folder.empty() || holdsRealDefinitions(folder);
}

std::optional<bool> ClamdLink::exchange(const std::string& command) {
  const auto shared = std::make_shared<Exchange>(services_.clock);
  auto carry = [shared, command, socket = clamdSocket(), controller = clamdController]() mutable {
    const bool taken = controller.communicateWithSocketWithCommand(socket, command);
    shared->done.lock();
    shared->taken = taken;
    shared->done.signal();
    shared->done.unlock();
  };
  try {
    services_.threads.detachNewThread("clamd " + command, carry);
  } catch (const std::system_error&) {
    // No thread is to be had: rather wait for the daemon than leave it without the command.
    carry();
  }
  const Clock::Duration deadline = services_.clock.now() + longestAnswer;
  shared->done.lock();
  while (!shared->taken && services_.clock.now() < deadline) {
    shared->done.wait();
  }
  const std::optional<bool> taken = shared->taken;
  shared->done.unlock();
  return taken;
}

bool ClamdLink::clamdStillAlive() {
  // A daemon that takes a command and stays silent for so long is as good as gone.
  return exchange("PING").value_or(false);
}

void ClamdLink::quitClamd() { exchange("QUIT"); }

void ClamdLink::recoverFromCrashedClamd() {
  const Paths known = paths();
  if (!known.clamdPATH) {
    services_.systemLog.log("clamd cannot be restarted: watching has been stopped");
    return;
  }
  MutexLock one(recovery_);
  launchClamdWithConfigFile(*known.clamdPATH, known.clamdConfPATH);
}

void ClamdLink::recoverUnreachableClamd() {
  const Paths known = paths();
  if (!known.clamdPATH) {
    return;
  }
  MutexLock one(recovery_);
  if (!clamdStillAlive()) {
    launchClamdWithConfigFile(*known.clamdPATH, known.clamdConfPATH);
  }
}

void ClamdLink::noEnginePanic() {
  owner_.displayError(services_.localizedStrings.stringForKey("CLAMDSCAN_ERROR", ""));
  owner_.displayNoEngineWindow();
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
