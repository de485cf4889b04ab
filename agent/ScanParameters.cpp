#include "agent/ScanParameters.h"

#include "agent/Preferences.h"
#include "platform/Folders.h"
#include "posix/FileFacts.h"

namespace quillo {

ScanParameters::ScanParameters(Preferences& preferences, Folders& folders, ScannerMenu& menu)
    : preferences_(preferences), folders_(folders), mainMenu(menu) {}

bool ScanParameters::setScanParameters() {
  list.clear();
  trashLocation = "--move=" + folders_.homeFolder() + "/.Trash";
  insert("--stdout");
  if (preferences_.useMultiscan) {
    insert("--multiscan");
  }
  if (!preferences_.usingClamDemon) {
    insertSettingsWithoutDaemon();
  }
  if (preferences_.quarantineInfected) {
    insert(preferences_.quarantineLocation);
  } else if (preferences_.deleteInfected) {
    insert(trashLocation);
  }
  const std::string scanner = preferences_.clamScanPATH.value_or("");
  const bool readable = isReadableFile(scanner);
  insert(scanner);
  list.insert(list.begin(), &mainMenu);
  return readable;
}

void ScanParameters::insertSettingsWithoutDaemon() {
  insert(preferences_.scanMboxOrNot);
  insert("-i");
  insert("-r");
  if (preferences_.exclude) {
    insert(preferences_.excludePattern);
  }
  if (preferences_.includeOnly) {
    insert(preferences_.includePattern);
  }
  if (preferences_.maxRatio) {
    insert(*preferences_.maxRatio);
  }
}

}  // namespace quillo
