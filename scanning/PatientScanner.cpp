#include "scanning/PatientScanner.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <exception>
#include <utility>

#include "platform/Folders.h"
#include "platform/SystemLog.h"
#include "posix/ChildProcess.h"
#include "posix/OwnFile.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"
#include "scanning/AbortedScans.h"
#include "scanning/Dispatcher.h"
#include "scanning/EngineRun.h"
#include "scanning/ScannerOwner.h"
#include "settings/TypedPreferences.h"

namespace quillo {

PatientScanner::PatientScanner(ScannerOwner& owner, const ScannerServices& services)
    : owner_(owner), services_(services), report_(owner, services) {}

PatientScanner::~PatientScanner() = default;

void PatientScanner::setMyName(const std::string& name) { name_ = name; }

void PatientScanner::setMenuAndParams(const ScanArgumentList& list, const WatchSettings& chosen) {
  const std::shared_ptr<const Settings> before = settings_.load();
  Settings settings;
  for (std::size_t index = 1; index < list.size(); ++index) {
    if (const std::string* argument = std::get_if<std::string>(&list[index])) {
      settings.scanParams.push_back(*argument);
    }
  }
  settings.policy.quarantineOrTrash = chosen.quarantineOrTrash;
  settings.excludePatterns = PatternList(services_.preferences.value(key::excludePatterns),
                                         services_.folders.homeFolder());
  settings.policy.quarantineLocation = before->policy.quarantineLocation;
  if (chosen.quarantineOrTrash == InfectedFileAction::quarantine) {
    settings.policy.quarantineLocation = chosen.quarantineFolder.value_or("");
  }
  settings.policy.suppressInfoDialogs = services_.preferences.value(key::suppressInfoDialogs);
  settings_.store(std::move(settings));
}

void PatientScanner::mainLoop() {
  for (;;) {
    try {
      round();
    } catch (const std::exception& failure) {
      // Memory may be short for a moment; what waits is still in the dispatcher's lists.
      logFailure(services_.systemLog, name_, ": ", failure);
      services_.clock.sleepFor(std::chrono::seconds(1));
    }
  }
}

void PatientScanner::round() {
  Dispatcher& dispatcher = services_.theDispatcher;
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
    return settings->excludePatterns.excluding(path).has_value();
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
    report_.consequences().showEngineError(services_.mainMenu.getQuitMenuName());
  });
  run.drain(handler);
  list.remove();
  run.finish();
}

ScanList::ScanList(const std::string& scannerName)
    : path_("/tmp/VantrelQuilloScanList_" + scannerName + ".txt") {}

std::string ScanList::write(const std::vector<std::string>& paths) {
  std::string text;
  for (const std::string& path : paths) {
    text.append(escapedPathLine(path)).push_back('\n');
  }
  memory_.reset();
  std::string problem = writeOwnFile("Scan list", path_, text);
  if (!problem.empty()) {
    keepInMemory(text);
  }
  return problem;
}

void ScanList::keepInMemory(const std::string& text) {
  const std::string name = "/vantrel-quillo-" + std::to_string(getpid()) + "-" +
                           std::to_string(reinterpret_cast<std::uintptr_t>(this));
  memory_.reset(shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600));
  if (!memory_) {
    throw PlatformException::ofSystemCall("ScanListFailure", "cannot keep a scan list in memory",
                                          errno);
  }
  shm_unlink(name.c_str());
  fcntl(memory_.get(), F_SETFD, FD_CLOEXEC);
  if (!writeAll(memory_.get(), text)) {
    throw PlatformException::ofSystemCall("ScanListFailure", "cannot write a scan list in memory",
                                          errno);
  }
  lseek(memory_.get(), 0, SEEK_SET);
}

void ScanList::remove() {
  if (memory_) {
    memory_.reset();
  } else {
    runShellCommand("rm " + path_);
  }
}

}  // namespace quillo
