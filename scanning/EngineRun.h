#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "posix/ChildProcess.h"
#include "posix/Pipe.h"
#include "scanning/RunningScanners.h"

namespace quillo {

class Clock;
class PlatformException;
class ScannerOwner;
class SystemLog;
class VerdictReceiver;
struct ScannerServices;

// One run of the engine's command-line scanner over some paths, as every scanner performs it. Used
// once, by the thread of its scanner.
class EngineRun {
 public:
  // `scanParams` is the program followed by its arguments.
  EngineRun(ScannerOwner& owner, const ScannerServices& services,
            const std::vector<std::string>& scanParams, const std::vector<std::string>& thePaths);

  // Runs `steps`, which are made of the operations below, while this run counts as going on. Their
  // failure is told in the log, or to the user when there is no engine; only one that is no
  // PlatformException is passed on.
  void perform(const std::function<void()>& steps);

  // Puts what the scanner adds behind the parameters; the first of all is the program.
  void takeArguments(const std::vector<std::string>& more);
  // Starts the engine with a pipe of its own, `descriptorThree` as its descriptor 3, and the
  // scanner's end of the channel where there is one.
  void launch(int descriptorThree, VerdictReceiver* verdicts);
  // Starts it with a pipe that the scanner made. Without a reading end it has this process's own
  // output: unread, a full pipe would stop it.
  void launch(std::optional<Pipe> outputPipe, std::optional<PipeReader> taskOutput,
              VerdictReceiver* verdicts);
  // Hands the report on until the engine has ended. Calls `daemonGone` when it could not reach its
  // daemon and that does not answer, and tells in the log of an engine that is still there then.
  void waitUntilExit(const ChildProcess::ChunkHandler& handler,
                     const std::function<void()>& daemonGone);
  // Hands on what stands in the pipe behind the end of the engine.
  void drain(const ChildProcess::ChunkHandler& handler);
  void finish();
  // Keeps a piece of the report, for the log.
  void readData(std::string_view data) { data_ = data; }

  // Tells once a second for as long as `isRunning` says so.
  static void waitWhileStillRunning(const std::function<bool()>& isRunning, SystemLog& log,
                                    Clock& clock);

 private:
  void noteAsRunning();
  void tellOfStart();
  LaunchRequest requestWith(VerdictReceiver* verdicts) const;
  void listenTo(VerdictReceiver* verdicts);
  void reportFailure(const PlatformException& failure);

  ScannerOwner& owner_;
  const ScannerServices& services_;
  const std::vector<std::string> scanParams_;
  const std::vector<std::string> thePaths_;
  std::vector<std::string> scanArguments_;
  std::string scanCommandPath_ = "(null)";
  std::string outputPipe_ = "(null)";
  std::string taskOutput_ = "(null)";
  std::optional<ChildProcess> scanCheckTask_;
  VerdictReceiver* verdicts_ = nullptr;  // of the scanner that runs
  // Goes before what it speaks of.
  std::optional<RunningScanners::Entry> running_;
  std::string data_ = "(null)";
};

}  // namespace quillo
