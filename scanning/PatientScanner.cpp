#include "scanning/PatientScanner.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

#include "platform/Folders.h"
#include "platform/SystemLog.h"
#include "platform/TypedPreferences.h"
#include "posix/ChildProcess.h"
#include "posix/Clock.h"
#include "posix/PlatformException.h"
#include "scanning/Dispatcher.h"
#include "scanning/RoadObserver.h"
#include "scanning/ScanList.h"
#include "scanning/ScanObserver.h"
#include "scanning/ScannerOwner.h"
#include "scanning/ScannerServices.h"

namespace quillo {
namespace {

constexpr int cannotScanStatus = 2;
constexpr std::size_t moveOptionLength = 7;  // of "--move="

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

struct PatientScanner::Run {
  std::shared_ptr<const Settings> settings;
  std::vector<std::string> scanArguments;
  std::string scanCommandPath = "(null)";
  std::optional<ChildProcess> scanCheckTask;
  std::string lastData = "(null)";
};

PatientScanner::PatientScanner(ScannerOwner& owner, const ScannerServices& services)
    : owner_(owner), services_(services), report_(owner, services) {}

PatientScanner::~PatientScanner() = default;

void PatientScanner::setMyName(const std::string& name) { name_ = name; }

void PatientScanner::setMenuAndParams(const ScanArgumentList& list) {
  const std::shared_ptr<const Settings> before = settings_.load();
  const TypedPreferences preferences(services_.preferenceStore, services_.systemLog);
  Settings settings;
  for (std::size_t index = 1; index < list.size(); ++index) {
    if (const std::string* argument = std::get_if<std::string>(&list[index])) {
      settings.scanParams.push_back(*argument);
    }
  }
  settings.policy.quarantineOrTrash = owner_.getQuarantineOrTrash();
  settings.excludePatterns = readExcludePatterns();
  settings.policy.quarantineLocation = before->policy.quarantineLocation;
  if (settings.policy.quarantineOrTrash == "Q") {
    const std::string moveOption = owner_.getQuarantineLocation();
    settings.policy.quarantineLocation =
        moveOption.substr(std::min(moveOptionLength, moveOption.size()));
  }
  settings.policy.suppressInfoDialogs = preferences.boolean("SuppressInfoDialogs").value_or(false);
  settings_.store(std::move(settings));
}

std::vector<std::shared_ptr<const PathPattern>> PatientScanner::readExcludePatterns() const {
  static const std::string where = "ExcludePatterns";
  const TypedPreferences preferences(services_.preferenceStore, services_.systemLog);
  std::vector<std::shared_ptr<const PathPattern>> patterns;
  for (const PreferenceValue& entry : preferences.array(where).value_or(PreferenceArray())) {
    if (!preferences.booleanIn(entry, "excludeEnabled", where).value_or(false)) {
      continue;
    }
    std::string pattern = preferences.stringIn(entry, "excludePattern", where).value_or("");
    if (!preferences.booleanIn(entry, "excludeRegEx", where).value_or(false)) {
      pattern = PathPattern::literalExpression(pattern, services_.folders.homeFolder());
    }
    // An empty expression would match, and so exclude, everything.
    if (!pattern.empty()) {
      patterns.push_back(std::make_shared<const PathPattern>(pattern));
    }
  }
  return patterns;
}

void PatientScanner::mainLoop() {
  for (;;) {
    try {
      round();
    } catch (const std::exception& failure) {
      services_.systemLog.log(name_ + ": " + failure.what());
    }
  }
}

void PatientScanner::round() {
  Dispatcher& dispatcher = owner_.theDispatcher();
  while (dispatcher.scannableCount() == 0) {
    dispatcher.scannerLock().lock();
    dispatcher.scannerLock().wait();
    dispatcher.scannerLock().unlock();
  }
  getItemsToScan(dispatcher);
  determineWhatToScan();
  if (scanList_.empty()) {
    return;
  }
  struct EmptiedAtEnd {
    std::vector<std::string>& list;
    ~EmptiedAtEnd() { list.clear(); }
  } emptied{scanList_};
  performScan();
}

void PatientScanner::getItemsToScan(Dispatcher& dispatcher) {
  dispatcher.copyFromDispatchToScanner(scanList_);
}

void PatientScanner::determineWhatToScan() {
  const std::shared_ptr<const Settings> settings = settings_.load();
  std::erase_if(scanList_, [&settings](const std::string& path) {
    return std::any_of(settings->excludePatterns.begin(), settings->excludePatterns.end(),
                       [&path](const auto& pattern) { return pattern->matches(path); });
  });
}

bool PatientScanner::searchForRegEx(const std::string& path, const std::string& pattern) {
  return PathPattern(pattern).matches(path);
}

bool PatientScanner::taskDataAvailable(std::string_view chunk) {
  if (chunk.empty()) {
    return false;
  }
  dealWithOutput(chunk);
  return true;
}

void PatientScanner::performScan() {
  const CountedScan counted(owner_, services_.scanObserver, scanList_.size());
  Run run;
  try {
    runEngine(run);
  } catch (const PlatformException& failure) {
    if (failure.reason() == "launch path not accessible") {
      owner_.noEnginePanic();
    } else {
      reportFailure(run, failure);
    }
  }
}

void PatientScanner::runEngine(Run& run) {
  run.settings = settings_.load();
  run.scanArguments = run.settings->scanParams;
  report_.startRun(run.settings->policy);

  ScanList list(name_);
  const std::string problem = list.write(scanList_);
  if (!problem.empty()) {
    services_.systemLog.log(problem);
  }
  run.scanArguments.push_back("--file-list=" + list.argumentPath());
  run.scanCommandPath = run.scanArguments.front();
  run.scanArguments.erase(run.scanArguments.begin());

  if (services_.roadObserver) {
    services_.roadObserver->scanStarted(scanList_);
  }
  LaunchRequest request{run.scanCommandPath, run.scanArguments};
  request.descriptorThree = list.descriptor();
  run.scanCheckTask.emplace(request);
  waitForEngine(run);
  list.remove();
  run.scanCheckTask->closeOutput();
  if (services_.roadObserver) {
    services_.roadObserver->scanEnded(scanList_, run.scanCheckTask->terminationStatus());
  }
}

void PatientScanner::waitForEngine(Run& run) {
  ChildProcess& task = *run.scanCheckTask;
  const int status = task.waitUntilExit([this, &run](std::string_view chunk) {
    run.lastData = chunk;
    return taskDataAvailable(chunk);
  });
  if (status == cannotScanStatus && !owner_.clamdStillAlive()) {
    report_.showEngineError();
  }
  waitWhileStillRunning([&task] { return task.isRunning(); }, services_.systemLog, services_.clock);
  for (std::string data = task.availableData(); !data.empty(); data = task.availableData()) {
    run.lastData = data;
    dealWithOutput(data);
  }
}

void PatientScanner::waitWhileStillRunning(const std::function<bool()>& isRunning, SystemLog& log,
                                           Clock& clock) {
  while (isRunning()) {
    log.log("Scanner task still running but performScan was about to exit!\n");
    clock.sleepFor(std::chrono::seconds(1));
  }
}

void PatientScanner::reportFailure(const Run& run, const PlatformException& failure) {
  const auto tell = [this](const std::string& line) { services_.systemLog.log(line); };
  const std::string task =
      run.scanCheckTask ? std::to_string(run.scanCheckTask->processIdentifier()) : "(null)";
  tell("Scanner: Caught " + failure.name() + ": " + failure.reason());
  tell("Scanner v1 of 9: scanArguments: " + listed(run.scanArguments));
  tell("Scanner v2 of 9: scanCommandPath: " + run.scanCommandPath);
  tell("Scanner v3 of 9: outputPipe: " + task);
  tell("Scanner v4 of 9: taskOutput: " + task);
  tell("Scanner v5 of 9: scanCheckTask: " + task);
  tell("Scanner v6 of 9: scanParams: " + listed(run.settings->scanParams));
  tell("Scanner v7 of 9: thePaths: " + listed(scanList_));
  tell("Scanner v8 of 9: [scanArguments objectAtIndex:0]: " +
       (run.scanArguments.empty() ? "(null)" : run.scanArguments.front()));
  tell("Scanner v9 of 9: data: " + run.lastData);
}

}  // namespace quillo
