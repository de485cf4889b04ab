#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "clamav/Daemons.h"
#include "engine/ClamdCtrl.h"
#include "posix/Clock.h"
#include "posix/Mutex.h"

namespace quillo {

class Application;
class ChildProcess;
struct LaunchRequest;
class LocalizedStrings;
class Notifier;
class SystemLog;
class ThreadStarter;
struct EngineProblem;

// What the link to the daemon asks of its owner. Any thread.
class ClamdLinkOwner {
 public:
  virtual ~ClamdLinkOwner() = default;
  // Returns the root of the engine's installation; nothing when the preferences name none.
  virtual std::optional<std::string> clamPATH() = 0;
  // Shows, soon, why no engine is usable.
  virtual void displayNoEngineWindow(const EngineProblem& problem) = 0;
  // Shows where its user can do something about that. Main thread.
  virtual void showWhatMends() = 0;
};

// The virus definitions with which files are scanned.
struct LoadedDefinitions {
  // There are others than the built-in test definition, as far as anybody knows.
  bool real = true;
  // When they were built, where that is known.
  std::optional<std::chrono::system_clock::time_point> built = {};
  // Where the daemon has them from, where its configuration says so.
  std::string folder = {};
};

// Returns the daemon that runs on this machine, or nothing. May take long.
using DaemonFinder = std::function<std::optional<RunningDaemon>()>;
// Returns whether a process was started with that variable in its environment.
using MarkReader = std::function<bool(pid_t process, const std::string& variable)>;

struct ClamdLinkServices {
  Application& application;
  Clock& clock;
  LocalizedStrings& localizedStrings;
  Notifier& notifier;
  SystemLog& systemLog;
  ThreadStarter& threads;
  DaemonFinder findDaemon = findRunningDaemon;
  MarkReader isMarked = isProcessMarked;
};

// Keeps the agent connected to the clamd daemon: finds it or launches it, learns its socket, asks
// whether it lives and starts it again. Every operation may be called from any thread.
class ClamdLink {
 public:
  // How long a caller waits for a daemon that has taken a command and does not answer.
  static constexpr Clock::Duration longestAnswer = std::chrono::seconds(30);

  ClamdLink(ClamdLinkOwner& owner, const ClamdLinkServices& services);
  ~ClamdLink();

  // Returns whether a daemon runs; if so, takes its program and configuration from the process
  // list, and the installation's in place of what cannot be used. Throws PlatformException when the
  // processes cannot be listed.
  bool checkForClamd();
  // Launches a daemon and waits until its program has ended, with the desktop alive on the main
  // thread. Returns false only when that exited with status 1, or when no more are to be launched.
  // Throws PlatformException when it cannot be run.
  bool launchClamdWithConfigFile(const std::string& program,
                                 const std::optional<std::string>& configuration);
  // Has nothing launched from now on. Returns whether a launch is under way.
  bool launchNoMore();
  // Waits until the recovery that is under way, if any, has ended.
  void awaitRecovery();
  // Returns whether a daemon listens at the socket of the configuration that this link did not
  // bring up: a program that finds one there reports success like one that has launched it.
  bool isServedByAnother();
  // Ends the programs that launches wait for, so that these return.
  void abandonLaunch();
  // Takes the socket's path from the daemon's configuration, or the installation's.
  void discernClamdSocketLocation();
  // Returns whether the daemon takes a "PING", or is silent for `longestAnswer` because it is at
  // work.
  bool clamdStillAlive();
  // Returns whether the daemon behind the installation can make temporary files. One that cannot
  // calls every file clean, and is not believed.
  bool canUnpack();
  // Launches the daemon that was last used, or the installation's where that cannot be run. Throws
  // PlatformException when neither can be. Returns false when it was launched and did not come up.
  bool recoverFromCrashedClamd();
  // Launches it likewise, but once for several callers at a time, and not when it is back already.
  bool recoverUnreachableClamd();
  // Sends "QUIT", but to no daemon that this link did not bring up.
  void quitClamd();
  // Shows the user by notification and dialog that no engine is usable.
  void noEnginePanic(const EngineProblem& problem);
  // Returns whether the daemon's definitions are more than the built-in test definition; true also
  // when its configuration does not say where they are.
  bool hasRealDefinitions();
  // Returns what the daemon has loaded, where it says so, else what lies where it would load it
  // from. May wait for the daemon's answer, a few seconds at most.
  LoadedDefinitions loadedDefinitions();

  // The paths of the daemon in use: none before they are known and after they were dropped.
  void setDaemonPaths(std::optional<std::string> clamdPATH,
                      std::optional<std::string> clamdConfPATH);
  std::optional<std::string> clamdPATH();
  std::optional<std::string> clamdConfPATH();
  std::optional<std::string> clamdSocket();

 private:
  struct Paths {
    std::optional<std::string> clamdPATH;
    std::optional<std::string> clamdConfPATH;
    std::optional<std::string> clamdSocket;
  };
  struct Exchange;

  Paths paths();
  // Returns null when no more are to be launched.
  std::shared_ptr<ChildProcess> beginLaunch(const LaunchRequest& request);
  Paths pathsOfInstallation();
  std::optional<std::string> configurationFile();
  std::string definitionFolder();
  std::vector<uid_t> trustedUsers();
  // Returns who listens there, or 0 for nobody who is trusted.
  pid_t listenerAt(const std::optional<std::string>& socket);
  bool relaunch(const Paths& known);
  // Returns true when the daemon took the command, and nothing when it has not answered in time.
  std::optional<bool> exchange(const std::string& command);
  std::shared_ptr<Exchange> begin(const std::string& command);
  ClamdCtrl::Peers peersFor(const std::string& command);

  // Constant after construction.
  ClamdLinkOwner& owner_;
  const ClamdLinkServices services_;
  ClamdCtrl clamdController;
  // In the environment of all that is launched, and of nothing else.
  const std::string mark_;
  // One recovery at a time.
  Mutex recovery_;
  Mutex lock_;
  Paths paths_ QUILLO_GUARDED_BY(lock_);
  std::vector<std::shared_ptr<ChildProcess>> launching_ QUILLO_GUARDED_BY(lock_);
  bool launchesNoMore_ QUILLO_GUARDED_BY(lock_) = false;
  // By command and socket. A daemon that never answers keeps a thread, but not one a command.
  std::map<std::string, std::shared_ptr<Exchange>> exchanges_ QUILLO_GUARDED_BY(lock_);
};

}  // namespace quillo
