#include "scanning/ScanParameters.h"

#include "platform/Folders.h"
#include "posix/FileFacts.h"
#include "settings/WatchSettings.h"

namespace quillo {
namespace {

std::string moveTo(const std::string& folder) { return "--move=" + folder; }

}  // namespace

std::string ScanParameters::quarantineLocation(const WatchSettings& settings) {
  return settings.quarantineFolder ? moveTo(*settings.quarantineFolder) : "";
}

bool ScanParameters::setScanParameters(const WatchSettings& settings) {
  const std::string trashLocation = moveTo(folders_.homeFolder() + "/.Trash");
  const std::string scanner = settings.clamScanPATH.value_or("");
  list_ = {&mainMenu, scanner};
  if (settings.quarantineInfected) {
    list_.emplace_back(quarantineLocation(settings));
  } else if (settings.deleteInfected) {
    list_.emplace_back(trashLocation);
  }
  if (!settings.usingClamDemon) {
    addSettingsWithoutDaemon(settings);
  }
  if (settings.useMultiscan) {
    list_.emplace_back("--multiscan");
  }
  list_.emplace_back("--stdout");
  return isReadableFile(scanner);
}

void ScanParameters::addSettingsWithoutDaemon(const WatchSettings& settings) {
  if (settings.maxRatio) {
    list_.emplace_back(*settings.maxRatio);
  }
  if (settings.includeOnly) {
    list_.emplace_back(settings.includePattern);
  }
  if (settings.exclude) {
    list_.emplace_back(settings.excludePattern);
  }
  const char* scanMboxOrNot = settings.scanEmail ? "--mbox" : "--no-mail";
  for (const char* option : {"-r", "-i", scanMboxOrNot}) {
    list_.emplace_back(option);
  }
}

}  // namespace quillo
