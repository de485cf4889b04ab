#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "posix/ChildProcess.h"
#include "posix/Mutex.h"
#include "posix/Pipe.h"

namespace quillo {

class Clock;
class PlatformException;
class ScanReport;
class ScannerOwner;
class SystemLog;
class VerdictReceiver;
struct InfectionPolicy;
struct ScannerServices;

// The engine's scanners that run for this agent, so that they can be ended by their number and not
// by a name that others bear too. Any thread.
class RunningScanners {
 public:
  // Holds a scanner in the list for the length of a scope.
  class Entry {
   public:
    Entry(RunningScanners& list, ChildProcess& scanner);
    // Has the scanner launched here: whoever ends them all meanwhile waits, and ends it as well.
    // Passes on what `launch` throws.
    Entry(RunningScanners& list, const std::function<ChildProcess&()>& launch);
    ~Entry();
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

   private:
    RunningScanners& list_;
    ChildProcess* scanner_ = nullptr;
  };

  // Ends each with SIGKILL, and what it started.
  void endAll();
  // Sends each that signal, which is none that ends it.
  void signalAll(int number);
  // Ends each as endAll() does, and from now on whatever begins: its owner ends.
  void endAllForGood();
  // Returns whether that is so.
  bool endsEach();

 private:
  Mutex lock_;
  std::vector<ChildProcess*> scanners_ QUILLO_GUARDED_BY(lock_);
  bool endsEach_ QUILLO_GUARDED_BY(lock_) = false;
};

// One run of the engine's command-line scanner over some paths, as every scanner performs it. Used
// once, by the thread of its scanner.
class EngineRun {
 public:
  // `parameters` are the program followed by its arguments. Everything outlives the run.
  EngineRun(ScannerOwner& owner, const ScannerServices& services, ScanReport& report,
            const std::vector<std::string>& parameters, const std::vector<std::string>& thePaths);

  // Runs `steps`, which are made of the operations below, from the report's beginning to its end,
  // while this run counts as going on. A PlatformException of theirs goes to the log, or to the
  // user when there is no engine; any other exception is passed on.
  void perform(const InfectionPolicy& policy, const std::function<void()>& steps);

  // Puts what the scanner adds behind the parameters; the first of all is the program.
  void takeArguments(const std::vector<std::string>& more);
  // Starts the engine with a pipe of its own, and with `descriptorThree` as its descriptor 3.
  // Throws PlatformException when it cannot be launched.
  void launch(int descriptorThree);
  // Starts it with a pipe that the scanner made. Without a reading end it has this process's own
  // output: unread, a full pipe would stop it.
  void launch(std::optional<Pipe> pipe, std::optional<PipeReader> readingEnd);
  // Hands the report on until the engine has ended. Calls `daemonGone` when the engine could not
  // reach its daemon and that does not answer, and logs an engine that is still there then.
  void waitUntilExit(const ChildProcess::ChunkHandler& handler,
                     const std::function<void()>& daemonGone);
  // Hands on what stands in the pipe behind the end of the engine.
  void drain(const ChildProcess::ChunkHandler& handler);
  void finish();
  // Keeps a piece of the report, for the log.
  void readData(std::string_view data) { data_ = data; }

  // Logs once a second for as long as `isRunning` says so.
  static void waitWhileStillRunning(const std::function<bool()>& isRunning, SystemLog& log,
                                    Clock& clock);

 private:
  void attempt(const std::function<void()>& steps);
  LaunchRequest begin(VerdictReceiver* verdicts);
  // Launches by `launch`, and counts what that returns among those that run.
  void launchNoted(const std::function<ChildProcess&()>& launch);
  void logFailure(const PlatformException& failure) const;

  // Constant after construction.
  ScannerOwner& owner_;
  const ScannerServices& services_;
  ScanReport& report_;
  const std::vector<std::string>& scanParams;
  const std::vector<std::string>& paths_;
  // Of the thread that performs the run.
  std::vector<std::string> scanArguments;
  std::optional<std::string> scanCommandPath;
  bool outputPipe = false;  // there is one
  // The number by which its reading end is known, of the descriptor or of who writes into it.
  std::optional<int> taskOutput;
  std::optional<ChildProcess> scanCheckTask;
  VerdictReceiver* verdicts_ = nullptr;  // of the scanner that runs
  // Goes before what it speaks of.
  std::optional<RunningScanners::Entry> running_;
  std::optional<std::string> data_;
};

}  // namespace quillo
