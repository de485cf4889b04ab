#include "agent/Face.h"

#include <ctime>

#include "platform/DockTile.h"
#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "posix/Clock.h"
#include "posix/Text.h"

namespace quillo {

StatusFacts Face::status() const {
  StatusFacts facts;
  facts.engineMissing = engineMissing_;
  facts.settingUp = settingUp_;
  facts.helperFails = helperFails_;
  facts.watchedFolders = watchedFolders_;
  facts.placesWithGaps = placesWithGaps_;
  facts.filesBeingScanned = filesBeingScanned_;
  return facts;
}

void Face::setWatchedFolders(const std::vector<std::string>& folders) {
  watchedFolders_ = folders.size();
  std::vector<std::string> shown;
  for (const std::string& folder : folders) {
    shown.push_back(abbreviatingWithTilde(folder, services_.folders.homeFolder()));
  }
  services_.dockTile.setWatchedFolders(shown);
}

void Face::verdictGiven(const Verdict& verdict) {
  // Whoever judges is there.
  const bool judged =
      verdict.kind == Verdict::Kind::clean || verdict.kind == Verdict::Kind::infected;
  if (judged && engineMissing_.exchange(false) && engineIsBack_) {
    engineIsBack_();
  }
  if (!showsVerdicts_ || !judged) {
    return;
  }
  const bool isThreat = verdict.kind == Verdict::Kind::infected;
  services_.dockTile.addVerdict(
      {timeNow(), abbreviatingWithTilde(verdict.path, services_.folders.homeFolder()),
       isThreat ? verdict.threat : services_.localizedStrings.stringForKey("SCANNED", ""),
       isThreat});
}

std::string Face::timeNow() const {
  char buffer[16] = "";
  const std::time_t now = std::chrono::system_clock::to_time_t(services_.clock.wallTime());
  std::tm local = {};
  if (localtime_r(&now, &local)) {
    std::strftime(buffer, sizeof buffer, "%H:%M:%S", &local);
  }
  return buffer;
}

}  // namespace quillo
