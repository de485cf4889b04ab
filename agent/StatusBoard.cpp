#include "agent/StatusBoard.h"

#include <algorithm>
#include <ctime>
#include <string>
#include <utility>

#include "agent/ScannerCount.h"
#include "platform/Application.h"
#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "platform/SystemLog.h"
#include "posix/Accounts.h"
#include "posix/Clock.h"
#include "posix/Text.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

// Between two runs of the engine: what comes that soon belongs to the same scanning.
constexpr std::chrono::seconds longestPause(3);

}  // namespace

StatusFacts StatusBoard::status() {
  StatusFacts facts;
  facts.engineMissing = engineMissing_;
  facts.engineFails = engineFails_;
  facts.preferencesMissing = preferencesMissing_;
  facts.definitions = definitions_;
  facts.daysOfDefinitions = daysOfDefinitions_;
  facts.settingUp = settingUp_;
  facts.helperFails = helperFails_;
  facts.watchedFolders = watchedFolders_;
  facts.placesWithGaps = placesWithGaps_;
  facts.filesBeingScanned = filesBeingScanned_;
  MutexLock hold(mutex_);
  facts.missingFolders = missingFolders_.size();
  facts.missingFolder =
      missingFolders_.empty()
          ? ""
          : abbreviatingWithTilde(missingFolders_.front(), services_.folders.homeFolder());
  return facts;
}

void StatusBoard::setWatchedFolders(const std::vector<std::string>& folders) {
  watchedFolders_ = folders.size();
  std::vector<std::string> shown;
  for (const std::string& folder : folders) {
    shown.push_back(abbreviatingWithTilde(folder, services_.folders.homeFolder()));
  }
  services_.dockTile.setWatchedFolders(shown);
}

void StatusBoard::setMissingFolders(const std::vector<std::string>& folders) {
  MutexLock hold(mutex_);
  missingFolders_ = folders;
}

void StatusBoard::setDefinitionFacts(const DefinitionFacts& definitions) {
  MutexLock hold(mutex_);
  definitionFacts_ = definitions;
}

void StatusBoard::setWatching(bool watching) {
  MutexLock hold(mutex_);
  if (!watching) {
    watchingSince_.reset();
  } else if (!watchingSince_) {
    watchingSince_ = services_.clock.wallTime();
  }
}

void StatusBoard::setHistoryProblem(const std::string& problem) {
  {
    MutexLock hold(mutex_);
    historyProblem_ = problem;
    if (!problem.empty()) {
      verdicts_ += std::exchange(unwritten_, 0);
    }
  }
  changed();
}

void StatusBoard::historyWritten(std::size_t changes) {
  if (changes == 0) {
    return;
  }
  {
    MutexLock hold(mutex_);
    unwritten_ -= std::min<std::uint64_t>(changes, unwritten_);
    verdicts_ += changes;
  }
  changed();
}

ActivityFacts StatusBoard::activity() {
  ActivityFacts facts;
  MutexLock hold(mutex_);
  facts.verdicts = verdicts_;
  facts.scanningSince = filesBeingScanned_ > 0 ? scanningSince_ : std::nullopt;
  facts.watchingSince = watchingSince_;
  facts.definitions = definitionFacts_;
  facts.missingFolders = missingFolders_;
  facts.historyProblem = historyProblem_;
  return facts;
}

void StatusBoard::changed() const {
  if (hasChanged_) {
    hasChanged_();
  }
}

void StatusBoard::runBegan(std::size_t files) {
  {
    MutexLock hold(mutex_);
    const auto now = services_.clock.now();
    if (filesBeingScanned_ == 0 && (!pausedAt_ || now - *pausedAt_ > longestPause)) {
      scanningSince_ = services_.clock.wallTime();
    }
    filesBeingScanned_ += files;
  }
  services_.scannerCount.modifyScannerCountBy(1);
  changed();
}

void StatusBoard::runEnded(std::size_t files) {
  {
    MutexLock hold(mutex_);
    filesBeingScanned_ -= files;
    pausedAt_ = services_.clock.now();
  }
  services_.scannerCount.modifyScannerCountBy(-1);
  changed();
}

void StatusBoard::verdictGiven(const Verdict& verdict) {
  // Whoever judges is there.
  const bool judged =
      verdict.kind == Verdict::Kind::clean || verdict.kind == Verdict::Kind::infected;
  if (judged) {
    const bool wasMissing = engineMissing_.exchange(false);
    if ((engineFails_.exchange(false) || wasMissing) && engineIsBack_) {
      engineIsBack_();
    }
  }
  if (judged) {
    showOrKeep(verdict);
  }
  const bool isFind = verdict.kind == Verdict::Kind::infected && !verdict.isSpared;
  if (isFind || verdict.kind == Verdict::Kind::notScanned) {
    bool isKept = true;
    {
      MutexLock hold(mutex_);
      isKept = historyProblem_.empty();
      ++(isKept ? unwritten_ : verdicts_);
    }
    if (!isKept) {
      changed();
    }
  }
}

void StatusBoard::showOrKeep(const Verdict& verdict) {
  Given given{services_.clock.wallTime(), verdict.path, verdict.threat,
              verdict.kind == Verdict::Kind::infected};
  MutexLock hold(mutex_);
  if (showsVerdicts_) {
    show(given);
    return;
  }
  if (unseen_.size() == DockTile::keptVerdicts) {
    unseen_.pop_front();
  }
  unseen_.push_back(std::move(given));
}

void StatusBoard::showVerdicts() {
  MutexLock hold(mutex_);
  showsVerdicts_ = true;
  for (const Given& given : unseen_) {
    show(given);
  }
  unseen_.clear();
}

void StatusBoard::show(const Given& given) const {
  services_.dockTile.addVerdict(
      {timeOf(given.at), abbreviatingWithTilde(given.path, services_.folders.homeFolder()),
       given.isThreat ? given.threat : services_.localizedStrings.stringForKey("SCANNED", ""),
       given.isThreat});
}

std::string StatusBoard::timeOf(std::chrono::system_clock::time_point at) {
  char buffer[16] = "";
  const std::time_t seconds = std::chrono::system_clock::to_time_t(at);
  std::tm local = {};
  if (localtime_r(&seconds, &local)) {
    std::strftime(buffer, sizeof buffer, "%H:%M:%S", &local);
  }
  return buffer;
}

bool DockWindow::isWanted() const {
  const std::string wanted = lowercased(preferences_.value(key::showDockIcon).value_or(""));
  return wanted == "true" || wanted == "both";
}

void DockWindow::showIfWanted() {
  if (!isWanted()) {
    return;
  }
  if (const int error = application_.transformToForegroundApplication()) {
    logFailure(error);
    return;
  }
  statusBoard_.showVerdicts();
}

int DockWindow::show() {
  statusBoard_.showVerdicts();
  const int error = application_.activateIgnoringOtherApps();
  if (error != 0) {
    logFailure(error);
  }
  return error;
}

void DockWindow::logFailure(int error) {
  log_.log("Could not bring the application to front. Error " + std::to_string(error));
}

}  // namespace quillo
