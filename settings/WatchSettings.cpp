#include "settings/WatchSettings.h"

#include <utility>

#include "platform/SystemLog.h"
#include "posix/FileFacts.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

constexpr const char* standardRoot = "/usr/local/vantrel";
constexpr const char* updaterOfStandardRoot = "/usr/local/vantrel/bin/RunFreshclam";

std::string updaterIn(const std::string& root) {
  const bool isWrapped = root.starts_with(standardRoot) && fileExists(updaterOfStandardRoot);
  return isWrapped ? updaterOfStandardRoot : root + "/bin/freshclam";
}

void readInfectedFileAction(WatchSettings& settings, const TypedPreferences& preferences,
                            SystemLog& log) {
  settings.quarantineOrTrash = InfectedFileAction::leaveInPlace;
  settings.quarantineFolder.reset();
  if (preferences.value(key::quilloTrashFiles)) {
    settings.deleteInfected = true;
    settings.quarantineInfected = false;
    settings.quarantineOrTrash = InfectedFileAction::moveToTrash;
    log.log("I will delete infected files\n");
  }
  if (preferences.value(key::quilloQuarantineFiles)) {
    settings.quarantineInfected = true;
    settings.deleteInfected = false;
    settings.quarantineOrTrash = InfectedFileAction::quarantine;
    log.log("I will quarantine infected files\n");
    settings.quarantineFolder = preferences.value(key::quarantineFolder).value_or("");
  }
}

}  // namespace

std::string letterOf(InfectedFileAction action) {
  switch (action) {
    case InfectedFileAction::quarantine:
      return "Q";
    case InfectedFileAction::moveToTrash:
      return "T";
    default:
      return "";
  }
}

WatchSettings withEngine(WatchSettings before, const TypedPreferences& preferences) {
  WatchSettings settings = std::move(before);
  settings.clamPATH = preferences.value(key::pathToClamav);
  settings.updateLog = preferences.value(key::pathToUpdateLog);
  settings.runningOnServer = preferences.value(key::runningOnServer);
  settings.usingClamDemon = true;
  settings.clamScanPATH.reset();
  settings.freshclamPATH.reset();
  if (const auto& root = settings.clamPATH) {
    settings.clamScanPATH = *root + "/bin/clamdscan";
    settings.freshclamPATH = updaterIn(*root);
  }
  return settings;
}

WatchSettings withScanning(WatchSettings before, const TypedPreferences& preferences,
                           SystemLog& log) {
  WatchSettings settings = std::move(before);
  settings.scanEmail = preferences.value(key::scanEmail);
  log.log(settings.scanEmail ? "scan email files\n" : "do NOT scan email files\n");
  settings.useMultiscan = preferences.value(key::multiscan) == "yes";
  if (settings.useMultiscan) {
    log.log("Will use as many processor cores as possible for scanning\n");
  }
  readInfectedFileAction(settings, preferences, log);
  if (!preferences.value(key::exclude)) {
    settings.excludePattern.clear();
    settings.exclude = false;
  }
  if (!preferences.value(key::include)) {
    settings.includePattern.clear();
    settings.includeOnly = false;
  }
  settings.maxRatio.reset();
  settings.logProgress = preferences.value(key::quilloLogProgress);
  settings.needsExit1FreshclamFlag |= preferences.value(key::needsExit1FreshclamFlag);
  settings.updateDefsAtLaunch |= preferences.value(key::updateDefsOnLaunch);
  return settings;
}

WatchSettings withoutDerivedValues(WatchSettings before) {
  WatchSettings settings = std::move(before);
  settings.clamPATH.reset();
  settings.clamScanPATH.reset();
  settings.freshclamPATH.reset();
  settings.updateLog.reset();
  settings.quarantineOrTrash = InfectedFileAction::leaveInPlace;
  settings.quarantineFolder.reset();
  settings.excludePattern.clear();
  settings.includePattern.clear();
  settings.maxRatio.reset();
  return settings;
}

}  // namespace quillo
