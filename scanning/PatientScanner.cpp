#include "scanning/PatientScanner.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/Folders.h"
#include "platform/SystemLog.h"
#include "scanning/Dispatcher.h"
#include "scanning/EngineRun.h"
#include "scanning/ScanList.h"
#include "scanning/ScannerOwner.h"
#include "scanning/ScannerServices.h"
#include "settings/TypedPreferences.h"

namespace quillo {

PatientScanner::PatientScanner(ScannerOwner& owner, const ScannerServices& services)
    : owner_(owner), services_(services), report_(owner, services) {}

PatientScanner::~PatientScanner() = default;

void PatientScanner::setMyName(const std::string& name) { name_ = name; }

void PatientScanner::setMenuAndParams(const ScanArgumentList& list) {
  const std::shared_ptr<const Settings> before = settings_.load();
  Settings settings;
  for (std::size_t index = 1; index < list.size(); ++index) {
    if (const std::string* argument = std::get_if<std::string>(&list[index])) {
      settings.scanParams.push_back(*argument);
    }
  }
  const std::shared_ptr<const WatchSettings> chosen = owner_.settings();
  settings.policy.quarantineOrTrash = chosen->quarantineOrTrash;
  settings.excludePatterns = readExcludePatterns();
  settings.policy.quarantineLocation = before->policy.quarantineLocation;
  if (chosen->quarantineOrTrash == InfectedFileAction::quarantine) {
    settings.policy.quarantineLocation = chosen->quarantineFolder.value_or("");
  }
  settings.policy.suppressInfoDialogs = services_.preferences.value(key::suppressInfoDialogs);
  settings_.store(std::move(settings));
}

std::vector<std::shared_ptr<const PathPattern>> PatientScanner::readExcludePatterns() const {
  std::vector<std::shared_ptr<const PathPattern>> patterns;
  for (const ExcludePattern& chosen : services_.preferences.value(key::excludePatterns)) {
    const std::string pattern = chosen.isRegEx ? chosen.text
                                               : PathPattern::literalExpression(
                                                     chosen.text, services_.folders.homeFolder());
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
  const std::shared_ptr<const Settings> settings = settings_.load();
  EngineRun run(owner_, services_, report_, settings->scanParams, scanList_);
  run.perform(settings->policy, [this, &run] { runEngine(run); });
}

void PatientScanner::runEngine(EngineRun& run) {
  ScanList list(name_);
  const std::string problem = list.write(scanList_);
  if (!problem.empty()) {
    services_.systemLog.log(problem);
  }
  run.takeArguments({"--file-list=" + list.argumentPath()});
  run.launch(list.descriptor());
  const auto handler = [this, &run](std::string_view chunk) {
    run.readData(chunk);
    return taskDataAvailable(chunk);
  };
  run.waitUntilExit(handler, [this] {
    report_.consequences().showEngineError(owner_.mainMenu().getQuitMenuName());
  });
  run.drain(handler);
  list.remove();
  run.finish();
}

}  // namespace quillo
