#include "scanning/EngineRun.h"

#include "clamav/VerdictChannel.h"
#include "platform/SystemLog.h"
#include "posix/Clock.h"
#include "posix/PlatformException.h"
#include "scanning/AbortedScans.h"
#include "scanning/PipelineObserver.h"
#include "scanning/ScanReport.h"
#include "scanning/ScannerOwner.h"

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

std::string orNull(const std::optional<std::string>& text) { return text.value_or("(null)"); }
std::string orNull(std::optional<int> number) {
  return number ? std::to_string(*number) : "(null)";
}

// Has a run of the engine counted for the length of a scope.
class CountedScan {
 public:
  CountedScan(ScanObserver& observer, std::size_t files) : observer_(observer), files_(files) {
    observer_.runBegan(files_);
  }
  ~CountedScan() { observer_.runEnded(files_); }
  CountedScan(const CountedScan&) = delete;
  CountedScan& operator=(const CountedScan&) = delete;

 private:
  ScanObserver& observer_;
  const std::size_t files_;
};

}  // namespace

RunningScanners::Entry::Entry(RunningScanners& list, ChildProcess& scanner)
    : Entry(list, [&scanner]() -> ChildProcess& { return scanner; }) {}

RunningScanners::Entry::Entry(RunningScanners& list, const std::function<ChildProcess&()>& launch)
    : list_(list) {
  MutexLock hold(list_.lock_);
  list_.scanners_.reserve(list_.scanners_.size() + 1);
  scanner_ = &launch();
  list_.scanners_.push_back(scanner_);
  if (list_.endsEach_) {
    scanner_->endAtOnce();
  }
}

RunningScanners::Entry::~Entry() {
  MutexLock hold(list_.lock_);
  std::erase(list_.scanners_, scanner_);
}

void RunningScanners::endAll() {
  MutexLock hold(lock_);
  for (ChildProcess* const scanner : scanners_) {
    scanner->endAtOnce();
  }
}

void RunningScanners::signalAll(int number) {
  MutexLock hold(lock_);
  for (ChildProcess* const scanner : scanners_) {
    scanner->signal(number);
  }
}

bool RunningScanners::endsEach() {
  MutexLock hold(lock_);
  return endsEach_;
}

void RunningScanners::endAllForGood() {
  {
    MutexLock hold(lock_);
    endsEach_ = true;
  }
  endAll();
}

EngineRun::EngineRun(ScannerOwner& owner, const ScannerServices& services, ScanReport& report,
                     const std::vector<std::string>& parameters,
                     const std::vector<std::string>& thePaths)
    : owner_(owner),
      services_(services),
      report_(report),
      scanParams(parameters),
      paths_(thePaths),
      scanArguments(parameters) {}

void EngineRun::perform(const InfectionPolicy& policy, const std::function<void()>& steps) {
  report_.startRun(policy, paths_);
  AbortedScans::Run noted(services_.abortedScans, [this] { return report_.unjudged(); });
  {
    // Of a run that failed, in whatever way, the engine may still be there.
    const struct Ended {
      EngineRun& run;
      ~Ended() {
        run.running_.reset();
        run.scanCheckTask.reset();
      }
    } ended{*this};
    attempt(steps);
  }
  report_.endRun(noted.end());
}

void EngineRun::attempt(const std::function<void()>& steps) {
  const CountedScan counted(services_.scanObserver, paths_.size());
  try {
    steps();
  } catch (const PlatformException& failure) {
    if (failure.kind() == PlatformException::Kind::cannotLaunch) {
      owner_.noEnginePanic(scanParams.empty() ? "clamdscan" : scanParams.front());
    } else {
      logFailure(failure);
    }
  }
}

void EngineRun::takeArguments(const std::vector<std::string>& more) {
  scanArguments.insert(scanArguments.end(), more.begin(), more.end());
  scanCommandPath = scanArguments.front();
  scanArguments.erase(scanArguments.begin());
}

LaunchRequest EngineRun::begin(VerdictReceiver* verdicts) {
  if (services_.pipelineObserver) {
    services_.pipelineObserver->scanStarted(paths_);
  }
  verdicts_ = verdicts;
  LaunchRequest request{*scanCommandPath, scanArguments};
  request.withItsChildren = true;
  if (verdicts) {
    request.descriptorFour = verdicts->scannersEnd();
    request.environment = environmentWith(verdictChannelVariable, "4");
    if (verdicts->takesProgress()) {
      request.environment->push_back(std::string(scanProgressVariable) + "=1");
    }
  }
  return request;
}

void EngineRun::launchNoted(const std::function<ChildProcess&()>& launch) {
  if (services_.runningScanners) {
    running_.emplace(*services_.runningScanners, launch);
  } else {
    launch();
  }
  if (verdicts_) {
    verdicts_->letGo();
  }
}

void EngineRun::launch(int descriptorThree) {
  LaunchRequest request = begin(report_.verdicts());
  request.descriptorThree = descriptorThree;
  launchNoted([&]() -> ChildProcess& { return scanCheckTask.emplace(request); });
  outputPipe = true;
  taskOutput = scanCheckTask->processIdentifier();
}

void EngineRun::launch(std::optional<Pipe> pipe, std::optional<PipeReader> readingEnd) {
  outputPipe = pipe.has_value();
  if (!pipe || !readingEnd) {
    // Nobody reads the report, so nobody could say that a line has come.
    LaunchRequest request = begin(nullptr);
    request.output = LaunchRequest::Output::inherited;
    launchNoted([&]() -> ChildProcess& { return scanCheckTask.emplace(request); });
    return;
  }
  taskOutput = readingEnd->descriptor();
  const LaunchRequest request = begin(report_.verdicts());
  launchNoted([&]() -> ChildProcess& {
    return scanCheckTask.emplace(request, std::move(*readingEnd), pipe->takeWriter());
  });
}

void EngineRun::waitUntilExit(const ChildProcess::ChunkHandler& handler,
                              const std::function<void()>& daemonGone) {
  ChildProcess& task = *scanCheckTask;
  ReadBesides besides;
  if (verdicts_) {
    besides = {verdicts_->descriptor(), [this] { return verdicts_->drain(); }};
  }
  const int status = task.waitUntilExit(handler, besides);
  // At the end of the agent all are ended.
  const bool isOver = services_.runningScanners && services_.runningScanners->endsEach();
  if ((status < 0 || status > cannotScanStatus) && !isOver) {
    report_.scannerFailed(status);
  } else if (outputPipe && !isOver) {
    report_.scannerEnded();
  }
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
  for (std::string data = scanCheckTask->availableData(); !data.empty();
       data = scanCheckTask->availableData()) {
    handler(data);
  }
}

void EngineRun::finish() {
  running_.reset();
  scanCheckTask->closeOutput();
  if (services_.pipelineObserver) {
    services_.pipelineObserver->scanEnded(paths_, scanCheckTask->terminationStatus());
  }
}

void EngineRun::logFailure(const PlatformException& failure) const {
  const std::optional<int> task =
      scanCheckTask ? std::optional<int>(scanCheckTask->processIdentifier()) : std::nullopt;
  services_.systemLog.log("Scanner: Caught " + failure.name() + ": " + failure.reason());
  int number = 0;
  for (const std::string& value :
       {"scanArguments: " + listed(scanArguments), "scanCommandPath: " + orNull(scanCommandPath),
        "outputPipe: " + (outputPipe && !taskOutput ? "pipe" : orNull(taskOutput)),
        "taskOutput: " + orNull(taskOutput), "scanCheckTask: " + orNull(task),
        "scanParams: " + listed(scanParams), "thePaths: " + listed(paths_),
        "[scanArguments objectAtIndex:0]: " +
            (scanArguments.empty() ? "(null)" : scanArguments.front()),
        "data: " + orNull(data_)}) {
    services_.systemLog.log("Scanner v" + std::to_string(++number) + " of 9: " + value);
  }
}

}  // namespace quillo
