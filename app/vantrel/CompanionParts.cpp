#include "app/vantrel/CompanionParts.h"

#include <chrono>
#include <string>
#include <system_error>
#include <utility>

#include "companion/definitions/DefinitionPlace.h"
#include "companion/doctor/StoreProblems.h"
#include "companion/start/FirstChoices.h"
#include "platform/Application.h"
#include "platform/Folders.h"
#include "platform/PreferenceStore.h"
#include "platform/Session.h"
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
      preferenceChanges({services.preferenceStore, preferenceWriter,
                         services.distributedNotificationCenter, services.agentLink}),
      chosenFolders({preferenceChanges, preferences, services.folders, services.systemLog}),
      exclusions({preferenceChanges, preferences, services.folders, services.systemLog}),
      putBackFiles(services.folders.stateFolder(), services.systemLog, services.clock),
      allowedFinds(putBackFiles, services.localizedStrings),
      historyWriter({services.clock, services.systemLog, services.folders.stateFolder(),
                     services.folders.homeFolder(),
                     [this](std::size_t changes) { entered(changes); }}),
      keptMoves(historyWriter, services.trashFolders, services.clock),
      historyCounts(services.folders.stateFolder(), services.localizedStrings),
      definitionUpdate({services.application, threads, preferences}) {
  services.preferenceStore.synchronize();
}

CompanionParts::~CompanionParts() { endHistory(); }

bool CompanionParts::endHistory() {
  constexpr std::chrono::seconds atMost(5);
  if (!std::exchange(isHistoryWritten, false)) {
    return true;
  }
  const bool hasEnded = historyWriter.end(atMost);
  desktop.distributedNotificationCenter.post(historyHasChanged, "Vantrel");
  return hasEnded;
}

void CompanionParts::entered(std::size_t changes) {
  if (changes > 0) {
    desktop.application.performOnMainThread([this] { historyChanged(); });
  }
}

ExplanationServices CompanionParts::explanationServices() {
  return {preferences, desktop.folders, desktop.trashFolders, [] { return MountTable().read(); }};
}

QuarantineServices CompanionParts::quarantineServices() {
  return {desktop.application,
          desktop.clock,
          desktop.localizedStrings,
          threads,
          [this] { return preferences.value(key::quarantineFolder).value_or(""); },
          [this] {
            return QuarantineRecord::Time(std::chrono::seconds(
                definitionsLoadedBy(preferences.value(key::pathToClamav).value_or(""))));
          },
          [this](const QuarantineStore& store, const std::vector<QuarantinedFile>& files,
                 QuarantineRecord::Time definitions) {
            return checkQuarantine(store, withEngine({}, preferences).clamScanPATH.value_or(""),
                                   files, definitions);
          },
          [this](const std::string& path, const FileIdentity& file, const std::string& hash) {
            return putBackFiles.allow(path, file, hash);
          }};
}

DoctorServices CompanionParts::doctorServices() {
  DoctorServices services{desktop.clock,
                          desktop.folders,
                          desktop.localizedStrings,
                          preferences,
                          [] { return MountTable().read(); },
                          hasFileHandles};
  services.preferencesProblem =
      [problem = preferenceChanges.problem().in(desktop.localizedStrings)] { return problem; };
  services.historyProblem = [this] {
    return historyProblemIn(desktop.folders.stateFolder(), desktop.clock, desktop.localizedStrings);
  };
  services.quarantineProblem = [this] {
    return quarantineProblemOf(preferences, desktop.localizedStrings, desktop.systemLog);
  };
  return services;
}

std::string CompanionParts::makeEngine(const std::string& engine) {
  std::string problem;
  desktop.application.waitKeepingDesktopAlive(
      [&] { problem = makeEngineTree(desktop.folders.resourceFolder(), engine); });
  return problem;
}

KeptScans& CompanionParts::keepScans(ScanSource source) {
  historyWriter.begin(threads);
  isHistoryWritten = true;
  keptScans.push_back(std::make_unique<KeptScans>(KeptScans::Services{
      historyWriter, desktop.trashFolders, desktop.clock, source, [this] {
        return withScanning(withEngine({}, preferences), preferences, desktop.systemLog)
            .quarantineOrTrash;
      }}));
  return *keptScans.back();
}

void CompanionParts::enter(HistoryChange change) {
  try {
    historyWriter.begin(threads);
  } catch (const std::system_error& problem) {
    desktop.systemLog.log(std::string("The history is not written: ") + problem.what());
    return;
  }
  isHistoryWritten = true;
  historyWriter.add(std::move(change));
}

ManualScanServices CompanionParts::scanServices() {
  return {desktop.application,
          desktop.clock,
          desktop.folders,
          desktop.localizedStrings,
          desktop.modifierKeys,
          preferences,
          desktop.systemLog,
          threads,
          desktop.volumes,
          desktop.workspace,
          &putBackFiles,
          [this] { return lacksDefinitions(preferences.value(key::pathToClamav).value_or("")); }};
}

}  // namespace quillo
