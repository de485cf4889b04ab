#include "app/vantrel/CompanionParts.h"

#include "platform/PreferenceStore.h"
#include "platform/SystemLog.h"
#include "settings/PreferenceTable.h"

namespace quillo {

CompanionParts::CompanionParts(const CompanionDesktop& services)
    : desktop(services),
      threads([log = &services.systemLog](const std::string& failure) { log->log(failure); }),
      preferences(services.preferenceStore, services.folders, services.systemLog),
      preferenceWriter(services.preferenceStore.fileOf(mainApplicationIdentifier)),
      preferenceChanges(
          {services.preferenceStore, preferenceWriter, services.distributedNotificationCenter}),
      chosenFolders({preferenceChanges, preferences, services.folders, services.systemLog}),
      exclusions({preferenceChanges, preferences, services.folders, services.systemLog}) {
  services.preferenceStore.synchronize();
}

ManualScanServices CompanionParts::scanServices() {
  return {desktop.application,  desktop.clock,    desktop.folders,   desktop.localizedStrings,
          desktop.modifierKeys, preferences,      desktop.systemLog, threads,
          desktop.volumes,      desktop.workspace};
}

}  // namespace quillo
