#include "scanning/Scanner.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "platform/Notifier.h"
#include "platform/SystemLog.h"
#include "posix/ChildProcess.h"
#include "posix/Clock.h"
#include "posix/FileFacts.h"
#include "posix/FolderReader.h"
#include "posix/PlatformException.h"
#include "scanning/EngineRun.h"
#include "scanning/PathPattern.h"
#include "scanning/ScannerOwner.h"

namespace quillo {
namespace {

constexpr std::int32_t isStable = 0;
constexpr std::int32_t isEmpty = -1;
constexpr auto pause = std::chrono::seconds(1);
constexpr const char* sizeTool = "/usr/bin/du";
constexpr const char* directoryRemoved = "directory removed";
constexpr ReportRules reportRules{
    .foundAnywhere = true, .recoversDaemon = false, .waitsForOpener = false};

std::int64_t sizeOf(const std::string& path) {
  const auto facts = fileFacts(path);
  return facts ? facts->size : 0;
}

// Every file below the folder; none for a plain file.
std::vector<std::string> subpathsOf(const std::string& item) {
  std::vector<std::string> currentSubPaths;
  appendEverythingBelow(item + "/", currentSubPaths);
  std::erase_if(currentSubPaths, isFolderItself);
  return currentSubPaths;
}

}  // namespace

Scanner::Scanner(ScannerOwner& owner, const ScannerServices& services, PipeSource pipes)
    : owner_(owner),
      services_(services),
      pipes_(std::move(pipes)),
      report_(owner, services, reportRules) {}

Scanner::~Scanner() = default;

void Scanner::scan(ScanItemList& items) {
  struct Ended {
    ScanItemList*& list;
    ~Ended() { list = nullptr; }
  } ended{filesToScan};
  takeArguments(items);
  takeSettings();
  for (std::size_t index = items.size(); index-- > 0;) {
    readyToScanFileAtIndex(std::get<std::string>(items[index]), index);
  }
  if (!includePattern.empty() || !excludePattern.empty()) {
    expandAndFilter();
  }
  if (!items.empty()) {
    performScan(pathsToScan());
  }
}

void Scanner::takeArguments(ScanItemList& items) {
  const bool arePaths =
      items.size() >= 2 && std::holds_alternative<std::vector<std::string>>(items[0]) &&
      std::holds_alternative<ScannerMenu*>(items[1]) &&
      std::all_of(items.begin() + 2, items.end(),
                  [](const ScanItem& item) { return std::holds_alternative<std::string>(item); });
  if (!arePaths) {
    throw PlatformException(PlatformException::Kind::invalidArgument, "InvalidArgumentException",
                            "a scan takes the scan argument list, the status menu and then paths");
  }
  filesToScan = &items;
  scanParams = std::get<std::vector<std::string>>(items[0]);
  mainMenu = std::get<ScannerMenu*>(items[1]);
  items.erase(items.begin(), items.begin() + 2);
}

void Scanner::takeSettings() {
  const std::shared_ptr<const WatchSettings> settings = owner_.settings();
  quarantineLocation = settings->quarantineFolder.value_or("");
  quarantineOrTrash = settings->quarantineOrTrash;
  includePattern = settings->includePattern;
  excludePattern = settings->excludePattern;
}

bool Scanner::readyToScanFileAtIndex(const std::string& path, std::size_t index) {
  do {
    if (!checkStillExists(path) || waitUntilFileStopsExpanding(path) == isEmpty ||
        !checkStillExists(path)) {
      filesToScan->erase(filesToScan->begin() + static_cast<std::ptrdiff_t>(index));
      return false;
    }
  } while (checkStillOpen(path));
  return true;
}

bool Scanner::checkStillExists(const std::string& path) { return fileExists(path); }

bool Scanner::checkStillOpen(const std::string&) { return false; }

std::int32_t Scanner::waitUntilFileStopsExpanding(const std::string& path) {
  const auto facts = fileFacts(path);
  if (facts && facts->isDirectory) {
    return waitUntilFolderStopsExpanding(path);
  }
  std::int64_t before = sizeOf(path);
  services_.clock.sleepFor(pause);
  std::int64_t now = sizeOf(path);
  if (now == 0) {
    return isEmpty;
  }
  while (now != before) {
    before = now;
    services_.clock.sleepFor(pause);
    now = sizeOf(path);
  }
  return isStable;
}

std::int32_t Scanner::waitUntilFolderStopsExpanding(const std::string& path) {
  for (;;) {
    const std::string before = getDirectorySizeAsString(path);
    services_.clock.sleepFor(pause);
    const std::string now = getDirectorySizeAsString(path);
    if (now == before || now == directoryRemoved) {
      return isStable;
    }
  }
}

std::string Scanner::getDirectorySizeAsString(const std::string& path) {
  std::string answer;
  try {
    ChildProcess tool({sizeTool, {"-sx", path}});
    // It may take minutes, and is to end with the scan that it is for.
    std::optional<RunningScanners::Entry> running;
    if (services_.runningScanners) {
      running.emplace(*services_.runningScanners, tool);
    }
    const int status = tool.waitUntilExit([&answer](std::string_view chunk) {
      answer = chunk;
      return true;
    });
    return status == 0 ? answer.substr(0, answer.find('\t')) : directoryRemoved;
  } catch (const PlatformException& failure) {
    services_.systemLog.log("The size of " + path + " cannot be had from " + sizeTool + ": " +
                            failure.reason());
    return directoryRemoved;
  }
}

bool Scanner::searchForRegEx(const std::string& text, const std::string& pattern) {
  return PathPattern(pattern).matchesText(text);
}

std::vector<std::string> Scanner::pathsToScan() const {
  std::vector<std::string> paths;
  for (const ScanItem& item : *filesToScan) {
    paths.push_back(std::get<std::string>(item));
  }
  return paths;
}

void Scanner::expandAndFilter() {
  const PathPattern include(includePattern);
  const PathPattern exclude(excludePattern);
  const std::vector<std::string> snapshot = pathsToScan();
  filesToScan->clear();
  for (const std::string& item : snapshot) {
    const std::vector<std::string> currentSubPaths = subpathsOf(item);
    if (currentSubPaths.empty()) {
      continue;
    }
    std::printf("currentSubPaths length: %d\n", static_cast<int>(currentSubPaths.size()));
    std::fflush(stdout);
    for (const std::string& path : currentSubPaths) {
      const bool included = includePattern.empty() || include.matchesText(path);
      const bool excluded = !excludePattern.empty() && exclude.matchesText(path);
      if (included && !excluded) {
        filesToScan->push_back(path);
      }
    }
  }
}

void Scanner::performScan(const std::vector<std::string>& thePaths) {
  EngineRun run(owner_, services_, report_, scanParams, thePaths);
  run.perform({quarantineOrTrash, quarantineLocation, false},
              [this, &run, &thePaths] { runEngine(run, thePaths); });
}

void Scanner::runEngine(EngineRun& run, const std::vector<std::string>& thePaths) {
  if (scanParams.empty()) {
    // The first of the paths would be taken for the engine, and run.
    throw PlatformException(PlatformException::Kind::cannotLaunch, "InvalidArgumentException",
                            "launch path not accessible");
  }
  run.takeArguments(thePaths);
  std::optional<Pipe> outputPipe = makeOutputPipe();
  std::optional<PipeReader> taskOutput = takeReadingEnd(outputPipe);
  run.launch(std::move(outputPipe), std::move(taskOutput));
  run.waitUntilExit([this](std::string_view chunk) { return taskDataAvailable(chunk); },
                    [this] {
                      report_.consequences().showEngineError(
                          (mainMenu ? *mainMenu : services_.mainMenu).getQuitMenuName());
                    });
  run.finish();
}

std::optional<Pipe> Scanner::makeOutputPipe() {
  std::optional<Pipe> outputPipe = pipes_.make();
  if (outputPipe) {
    return outputPipe;
  }
  services_.systemLog.log(
      "Hold on to your hats, I think we're about to crash - outputPipe is null");
  outputPipe = pipes_.make();
  if (outputPipe) {
    services_.systemLog.log(
        "Looks like trying again for another outputPipe worked! Cross your fingers and keep "
        "hoping");
    notifyOfLuck();
  } else {
    services_.systemLog.log("Nope, retry failed - outputPipe is still null");
  }
  return outputPipe;
}

std::optional<PipeReader> Scanner::takeReadingEnd(std::optional<Pipe>& outputPipe) {
  const auto ask = [this, &outputPipe] {
    return outputPipe ? pipes_.readingEnd(*outputPipe) : std::nullopt;
  };
  std::optional<PipeReader> taskOutput = ask();
  if (taskOutput) {
    return taskOutput;
  }
  services_.systemLog.log("All bets are off - we're crashing - taskOutput is null");
  taskOutput = ask();
  if (taskOutput) {
    services_.systemLog.log(
        "Looks like trying again for another taskOutput worked! Cross your fingers and keep "
        "hoping");
    notifyOfLuck();
  } else {
    services_.systemLog.log(
        "Yet again, retrying failed - taskOutput is still null - this sucker's gonna blow!");
  }
  return taskOutput;
}

void Scanner::notifyOfLuck() {
  services_.notifier.displayGrowlDialogWithTitleAndDescription(
      notificationError, "We should have crashed here, please let me know either way. Thanks");
}

bool Scanner::taskDataAvailable(std::string_view chunk) {
  if (chunk.empty()) {
    return false;
  }
  report_.dealWithOutput(chunk);
  return true;
}

void Scanner::openQuarantineFolder(ButtonDialog& dialog) {
  report_.consequences().openQuarantineFolder(dialog, quarantineLocation);
}

}  // namespace quillo
