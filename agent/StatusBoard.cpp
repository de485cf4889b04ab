#include "agent/StatusBoard.h"

#include <ctime>
#include <utility>

#include "platform/DockTile.h"
#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "posix/Accounts.h"
#include "posix/Clock.h"

namespace quillo {

StatusFacts StatusBoard::status() {
  StatusFacts facts;
  facts.engineMissing = engineMissing_;
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
  facts.missingFolder = missingFolders_.empty() ? "" : missingFolders_.front();
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
  std::vector<std::string> shown;
  for (const std::string& folder : folders) {
    shown.push_back(abbreviatingWithTilde(folder, services_.folders.homeFolder()));
  }
  MutexLock hold(mutex_);
  missingFolders_ = std::move(shown);
}

void StatusBoard::verdictGiven(const Verdict& verdict) {
  // Whoever judges is there.
  const bool judged =
      verdict.kind == Verdict::Kind::clean || verdict.kind == Verdict::Kind::infected;
  if (judged && engineMissing_.exchange(false) && engineIsBack_) {
    engineIsBack_();
  }
  if (!judged) {
    return;
  }
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

}  // namespace quillo
