#include "scanning/EngineRun.h"

#include "clamav/VerdictChannel.h"
#include "platform/SystemLog.h"
#include "posix/Clock.h"
#include "posix/PlatformException.h"
#include "scanning/RoadObserver.h"
#include "scanning/ScanObserver.h"
#include "scanning/ScannerOwner.h"
#include "scanning/ScannerServices.h"

namespace quillo {
namespace {

constexpr int cannotScanStatus = 2;

std::string listed(const std::vector<std::string>& elements) {
  std::string text = "(";
  for (const std::string& element : elements) {
    text.append(text.size() > 1 ? ", " : "").append(element);
  }
  return text + ")";
}

// Raises the count of running scans, and of files in them, for the length of a scope.
class CountedScan {
 public:
  CountedScan(ScannerOwner& owner, ScanObserver* observer, std::size_t files)
      : owner_(owner), observer_(observer), files_(files) {
    if (observer_) {
      observer_->runBegan(files_);
    }
    owner_.modifyScannerCountBy(1);
  }
  ~CountedScan() {
    if (observer_) {
      observer_->runEnded(files_);
    }
    owner_.modifyScannerCountBy(-1);
  }
  CountedScan(const CountedScan&) = delete;
  CountedScan& operator=(const CountedScan&) = delete;

 private:
  ScannerOwner& owner_;
  ScanObserver* const observer_;
  const std::size_t files_;
};

}  // namespace

EngineRun::EngineRun(ScannerOwner& owner, const ScannerServices& services,
                     const std::vector<std::string>& scanParams,
                     const std::vector<std::string>& thePaths)
    : owner_(owner),
      services_(services),
      scanParams_(scanParams),
      thePaths_(thePaths),
      scanArguments_(scanParams) {}

void EngineRun::perform(const std::function<void()>& steps) {
  const CountedScan counted(owner_, services_.scanObserver, thePaths_.size());
  try {
    steps();
  } catch (const PlatformException& failure) {
    if (failure.kind() == PlatformException::Kind::cannotLaunch) {
      owner_.noEnginePanic(scanParams_.empty() ? "clamdscan" : scanParams_.front());
    } else {
      reportFailure(failure);
    }
  }
}

void EngineRun::takeArguments(const std::vector<std::string>& more) {
  scanArguments_.insert(scanArguments_.end(), more.begin(), more.end());
  scanCommandPath_ = scanArguments_.front();
  scanArguments_.erase(scanArguments_.begin());
}

LaunchRequest EngineRun::requestWith(VerdictReceiver* verdicts) const {
  LaunchRequest request{scanCommandPath_, scanArguments_};
  request.withItsChildren = true;
  if (verdicts) {
    request.descriptorFour = verdicts->scannersEnd();
    request.environment = environmentWith(verdictChannelVariable, "4");
  }
  return request;
}

void EngineRun::launch(int descriptorThree, VerdictReceiver* verdicts) {
  tellOfStart();
  LaunchRequest request = requestWith(verdicts);
  request.descriptorThree = descriptorThree;
  scanCheckTask_.emplace(request);
  noteAsRunning();
  listenTo(verdicts);
  outputPipe_ = taskOutput_ = std::to_string(scanCheckTask_->processIdentifier());
}

void EngineRun::launch(std::optional<Pipe> outputPipe, std::optional<PipeReader> taskOutput,
                       VerdictReceiver* verdicts) {
  tellOfStart();
  if (outputPipe) {
    outputPipe_ = "pipe";
  }
  if (!outputPipe || !taskOutput) {
    // Nobody reads the report, so nobody could say that a line has come.
    LaunchRequest request = requestWith(nullptr);
    request.output = LaunchRequest::Output::inherited;
    scanCheckTask_.emplace(request);
    noteAsRunning();
    return;
  }
  outputPipe_ = taskOutput_ = std::to_string(taskOutput->descriptor());
  scanCheckTask_.emplace(requestWith(verdicts), std::move(*taskOutput), outputPipe->takeWriter());
  noteAsRunning();
  listenTo(verdicts);
}

void EngineRun::listenTo(VerdictReceiver* verdicts) {
  verdicts_ = verdicts;
  if (verdicts) {
    verdicts->letGo();
  }
}

void EngineRun::noteAsRunning() {
  if (services_.runningScanners) {
    running_.emplace(*services_.runningScanners, *scanCheckTask_);
  }
}

void EngineRun::tellOfStart() {
  if (services_.roadObserver) {
    services_.roadObserver->scanStarted(thePaths_);
  }
}

void EngineRun::waitUntilExit(const ChildProcess::ChunkHandler& handler,
                              const std::function<void()>& daemonGone) {
  ChildProcess& task = *scanCheckTask_;
  ReadBesides besides;
  if (verdicts_) {
    besides = {verdicts_->descriptor(), [this] { return verdicts_->drain(); }};
  }
  const int status = task.waitUntilExit(handler, besides);
  if (status == cannotScanStatus && !owner_.clamdStillAlive()) {
    daemonGone();
  }
  waitWhileStillRunning([&task] { return task.isRunning(); }, services_.systemLog, services_.clock);
}

void EngineRun::waitWhileStillRunning(const std::function<bool()>& isRunning, SystemLog& log,
                                      Clock& clock) {
  while (isRunning()) {
    log.log("Scanner task still running but performScan was about to exit!\n");
    clock.sleepFor(std::chrono::seconds(1));
  }
}

void EngineRun::drain(const ChildProcess::ChunkHandler& handler) {
  ChildProcess& task = *scanCheckTask_;
  for (std::string data = task.availableData(); !data.empty(); data = task.availableData()) {
    handler(data);
  }
}

void EngineRun::finish() {
  running_.reset();
  scanCheckTask_->closeOutput();
  if (services_.roadObserver) {
    services_.roadObserver->scanEnded(thePaths_, scanCheckTask_->terminationStatus());
  }
}

void EngineRun::reportFailure(const PlatformException& failure) {
  const auto tell = [this](const std::string& line) { services_.systemLog.log(line); };
  const std::string task =
      scanCheckTask_ ? std::to_string(scanCheckTask_->processIdentifier()) : "(null)";
  tell("Scanner: Caught " + failure.name() + ": " + failure.reason());
  tell("Scanner v1 of 9: scanArguments: " + listed(scanArguments_));
  tell("Scanner v2 of 9: scanCommandPath: " + scanCommandPath_);
  tell("Scanner v3 of 9: outputPipe: " + outputPipe_);
  tell("Scanner v4 of 9: taskOutput: " + taskOutput_);
  tell("Scanner v5 of 9: scanCheckTask: " + task);
  tell("Scanner v6 of 9: scanParams: " + listed(scanParams_));
  tell("Scanner v7 of 9: thePaths: " + listed(thePaths_));
  tell("Scanner v8 of 9: [scanArguments objectAtIndex:0]: " +
       (scanArguments_.empty() ? "(null)" : scanArguments_.front()));
  tell("Scanner v9 of 9: data: " + data_);
}

}  // namespace quillo
