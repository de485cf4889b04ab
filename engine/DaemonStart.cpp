#include "engine/DaemonStart.h"

#include "engine/ClamdLink.h"
#include "platform/SystemLog.h"
#include "posix/FileFacts.h"
#include "posix/PlatformException.h"

namespace quillo {

std::optional<EngineProblem> DaemonStart::makeSureDaemonRuns(const std::optional<std::string>& root,
                                                             const EngineProblem& unnamed) {
  if (daemonRuns()) {
    weLaunchedClamd = false;
    return std::nullopt;
  }
  if (root) {
    engine_.setDaemonPaths(*root + "/sbin/clamd", *root + "/etc/clamd.conf");
  } else {
    engine_.setDaemonPaths(std::nullopt, std::nullopt);
  }
  log_.log("clamd not running. Now trying to launch it...\n");
  const std::optional<std::string> daemon = engine_.clamdPATH();
  if (!daemon || !fileExists(*daemon)) {
    log_.log("ClamAV installation couldn't be found.  Quitting now.\n");
    return daemon ? EngineProblem{EngineProblem::Kind::daemonMissing, *daemon} : unnamed;
  }
  const bool launched = launch(*daemon);
  log_.log(launched ? "clamd launched successfully.  Continuing...\n"
                    : "clamd couldn't be launched.  Quitting now.\n");
  weLaunchedClamd = launched && !engine_.isServedByAnother();
  return launched ? std::nullopt
                  : std::optional(EngineProblem{EngineProblem::Kind::daemonFailed, *daemon});
}

bool DaemonStart::daemonRuns() {
  try {
    return engine_.checkForClamd();
  } catch (const PlatformException& failure) {
    log_.log("The processes cannot be listed: " + failure.reason());
    return false;
  }
}

bool DaemonStart::launch(const std::string& daemon) {
  struct Launching {
    bool& flag;
    explicit Launching(bool& launching) : flag(launching) { flag = true; }
    ~Launching() { flag = false; }
  } launching(launchingClamd);
  try {
    return engine_.launchClamdWithConfigFile(daemon, engine_.clamdConfPATH());
  } catch (const PlatformException& failure) {
    log_.log("Cannot launch " + daemon + ": " + failure.reason());
    return false;
  }
}

}  // namespace quillo
