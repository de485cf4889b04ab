#include "app/vantrel/CompanionParts.h"

#include <chrono>
#include <utility>

#include "platform/Folders.h"
#include "platform/PreferenceStore.h"
#include "platform/SystemLog.h"
#include "posix/MountTable.h"
#include "settings/PreferenceTable.h"
#include "settings/WatchSettings.h"

namespace quillo {

CompanionParts::CompanionParts(const CompanionDesktop& services)
    : desktop(services),
      threads([log = &services.systemLog](const std::string& failure) { log->log(failure); }),
      preferences(services.preferenceStore, services.folders, services.systemLog),
      preferenceWriter(services.preferenceStore.fileOf(mainApplicationIdentifier)),
      preferenceChanges(
          {services.preferenceStore, preferenceWriter, services.distributedNotificationCenter}),
      chosenFolders({preferenceChanges, preferences, services.folders, services.systemLog}),
      exclusions({preferenceChanges, preferences, services.folders, services.systemLog}),
      putBackFiles(services.folders.stateFolder(), services.systemLog, services.clock),
      allowedFinds(putBackFiles, services.localizedStrings),
      historyWriter({services.clock,
                     services.systemLog,
                     services.folders.stateFolder(),
                     services.folders.homeFolder(),
                     nullptr,
                     {}}),
      historyCounts(services.folders.stateFolder(), services.localizedStrings),
      definitionUpdate({services.application, threads, preferences}) {
  services.preferenceStore.synchronize();
}

CompanionParts::~CompanionParts() { endHistory(); }

void CompanionParts::endHistory() {
  constexpr std::chrono::seconds atMost(5);
  if (!std::exchange(keptScans, {}).empty()) {
    historyWriter.end(atMost);
  }
}

ExplanationServices CompanionParts::explanationServices() {
  return {preferences, desktop.folders, desktop.trashFolders, [] { return MountTable().read(); }};
}

KeptScans& CompanionParts::keepScans(ScanSource source) {
  historyWriter.begin(threads);
  keptScans.push_back(std::make_unique<KeptScans>(KeptScans::Services{
      historyWriter, desktop.trashFolders, desktop.clock, source, [this] {
        return withScanning(withEngine({}, preferences), preferences, desktop.systemLog)
            .quarantineOrTrash;
      }}));
  return *keptScans.back();
}

ManualScanServices CompanionParts::scanServices() {
  return {desktop.application,  desktop.clock,     desktop.folders,   desktop.localizedStrings,
          desktop.modifierKeys, preferences,       desktop.systemLog, threads,
          desktop.volumes,      desktop.workspace, &putBackFiles};
}

}  // namespace quillo
