#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "posix/Mutex.h"
#include "posix/Pipe.h"
#include "posix/UniqueFd.h"

namespace quillo {

// What to run and how. `arguments` does not hold the program's own name.
struct LaunchRequest {
  enum class Output {
    joinedPipe,      // standard output and standard error into one pipe, read by the owner
    inherited,       // both as this process has them
    discardedStdout  // standard output to the null device, standard error inherited
  };

  std::string launchPath;
  std::vector<std::string> arguments = {};
  Output output = Output::joinedPipe;
  // Nothing: this process's environment.
  std::optional<std::vector<std::string>> environment = std::nullopt;
  // Descriptors that the child sees as numbers 3 and 4; -1 for none. Nothing else is passed on.
  int descriptorThree = -1;
  int descriptorFour = -1;
  // Its children belong to it: endAtOnce() ends them as well.
  bool withItsChildren = false;
};

// Returns this process's environment with one variable more, or in place of one of that name.
std::vector<std::string> environmentWith(const std::string& name, const std::string& value);

// Something else to be read while a child is waited for: `read` is called whenever `descriptor` can
// be read, and returns true when it wants more.
struct ReadBesides {
  int descriptor = -1;
  std::function<bool()> read;
};

// One child process, run with posix_spawn(3): standard input is the null device, signal mask and
// dispositions are the defaults, every other descriptor is closed. One thread owns and waits for
// it; terminate(), signal(), endAtOnce() and isRunning() may be called from any thread.
class ChildProcess {
 public:
  // Called for each chunk of output with all data that was there to be read, on the waiting thread.
  // Returns true when it wants more.
  using ChunkHandler = std::function<bool(std::string_view chunk)>;

  // Throws PlatformException: cannotLaunch, with the reason "launch path not accessible", when the
  // program cannot be run; another kind when the system refuses a new process or pipe.
  explicit ChildProcess(const LaunchRequest& request);
  // Has standard output and standard error written to a pipe that the caller made. Throws the same.
  ChildProcess(const LaunchRequest& request, PipeReader output, UniqueFd writer);
  // Ends the child as endAtOnce() does if it still runs, and reaps it.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t processIdentifier() const { return pid_; }
  bool isRunning();
  // Sends SIGTERM; does nothing once the child has been reaped.
  void terminate();
  // Sends the child itself a signal; does nothing once it has been reaped. Any thread.
  void signal(int number);
  // Sends SIGKILL, with LaunchRequest::withItsChildren to the whole of its process group; does
  // nothing once the child has been reaped. Any thread.
  void endAtOnce();

  // Waits without polling until the child has exited, handing on its output meanwhile. What it
  // wrote before it exited is handed on first. Returns the termination status.
  int waitUntilExit(const ChunkHandler& handler = nullptr, ReadBesides besides = {});
  // Returns the exit status, or the number of the signal that ended it (129 for SIGHUP, to keep 1
  // for the exit status). Only after waitUntilExit().
  int terminationStatus() const { return status_; }

  // Returns all data now available on the output; "" at the end and when there is none. Never
  // waits.
  std::string availableData() { return output_.availableData(); }
  void closeOutput() { output_.close(); }

 private:
  void spawn(const LaunchRequest& request, int writer);
  void reap();

  pid_t pid_ = -1;
  bool leadsGroup_ = false;
  UniqueFd pidfd_;
  PipeReader output_;
  int status_ = 0;
  Mutex mutex_;
  bool reaped_ QUILLO_GUARDED_BY(mutex_) = false;
};

// Runs a command line with the shell and waits for it, for the small chores that are fixed command
// lines; everything else is a ChildProcess. Failures are ignored. Any thread. system(3).
void runShellCommand(const std::string& commandLine);

}  // namespace quillo
