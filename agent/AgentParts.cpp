#include "agent/AgentParts.h"

#include "platform/Application.h"
#include "platform/Folders.h"
#include "platform/MainInterface.h"

namespace quillo {

AgentParts::AgentParts(const AgentServices& given, const Platform& desktop, Throbber& menu)
    : services(given),
      mainMenu(menu),
      putBackFiles(desktop.folders.stateFolder(), desktop.systemLog, given.clock),
      progressLog(desktop.systemLog),
      abortedScans(desktop.systemLog, &progressLog),
      scannerCount(given.clock),
      statusBoard(
          {given.clock, desktop.dockTile, desktop.folders, desktop.localizedStrings, scannerCount}),
      notifications(desktop.growl, desktop.localizedStrings),
      menuForScanners(menu),
      scannerLink(
          {preferences, clamdLink, statusBoard, menu, watching, folderOpener, mainApplication}),
      watcherLink({watchList, watching, statusBoard, menu, mainApplication}),
      engineLink(preferences, noEngineWindow, mainApplication),
      menuLink({scannerCount, statusBoard, watching, health, preferences, desktop.statusPublisher}),
      recentTotals(given.clock, given.threads, desktop.folders.stateFolder(),
                   [this] { mainMenu.showStatus(); }),
      history({given.clock,
               desktop.systemLog,
               desktop.folders.stateFolder(),
               desktop.folders.homeFolder(),
               [this](std::size_t changes) {
                 if (changes > 0) {
                   recentTotals.countAnew();
                 }
                 statusBoard.historyWritten(changes);
               },
               {},
               [this](const std::string& problem) { statusBoard.setHistoryProblem(problem); }}),
      historyObserver(scannerLink, history, desktop.trashFolders, given.clock),
      scanObservers({&statusBoard, &historyObserver}),
      guardLink(
          {watcherLink, statusBoard, given.preferences, desktop.trashFolders, desktop.volumes}),
      unscannedFiles({given.clock, desktop.systemLog, theDispatcher, scanObservers, guardLink,
                      [this](Clock::Duration time) { health.lookWithin(time); }}),
      scannerServices{desktop.application,
                      given.clock,
                      dialogList,
                      theDispatcher,
                      desktop.folders,
                      desktop.interfaceLoader,
                      desktop.localizedStrings,
                      menuForScanners,
                      desktop.modifierKeys,
                      notifications,
                      given.preferences,
                      scanObservers,
                      desktop.systemLog,
                      desktop.workspace,
                      &desktop.fileDepartures,
                      &putBackFiles,
                      &progressLog,
                      &runningScanners,
                      &reportedFiles,
                      &abortedScans,
                      &unscannedFiles},
      theDispatcher(given.clock, desktop.systemLog, desktop.volumes, &progressLog),
      intake(theDispatcher),
      watcherServices{desktop.application,
                      desktop.authorization,
                      desktop.backgroundWork,
                      given.clock,
                      desktop.folders,
                      desktop.localizedStrings,
                      desktop.nameWatch,
                      notifications,
                      given.preferences,
                      desktop.systemLog,
                      given.threads,
                      desktop.trashFolders,
                      intake,
                      [this] {
                        return theDispatcher.scannableCount() > 0 ||
                               scannerCount.scannerCount() > 0 || unscannedFiles.areWaiting();
                      }},
      firstPatientScanner(scannerLink, scannerServices),
      secondPatientScanner(scannerLink, scannerServices),
      gfsLogger(watcherLink, watcherServices),
      nameWatcher(watcherLink, watcherServices),
      clamdLink(engineLink,
                {desktop.application, given.clock, desktop.localizedStrings, notifications,
                 desktop.systemLog, given.threads, given.findDaemon, given.isMarked}),
      requests(desktop.application, desktop.systemLog),
      daemonStart(clamdLink, desktop.systemLog),
      scratchFolders(desktop.folders, desktop.systemLog),
      preferences(desktop.preferenceStore, given.preferences, desktop.systemLog, clamdLink,
                  daemonStart, scratchFolders),
      preferenceFile({desktop.application, desktop.folders, desktop.preferenceStore,
                      desktop.systemLog, desktop.workspace}),
      noEngineWindow({desktop.application, desktop.applicationLauncher, desktop.localizedStrings,
                      desktop.mainInterface},
                     preferences, preferenceFile),
      definitionsWarning(
          {desktop.application, desktop.localizedStrings, desktop.systemLog, notifications},
          clamdLink,
          [this] {
            requests.attempt([this] { definitionUpdates.updateVirusDefsAndNotify(true); });
          }),
      scanParameters(desktop.folders, menuForScanners),
      watchList({desktop.mountNotifications, desktop.preferenceStore, given.preferences,
                 desktop.systemLog},
                menu, theDispatcher),
      definitionUpdates(preferences, notifications, menu, noEngineWindow, mainApplication,
                        definitionsWarning, desktop.mainInterface.updateWindow,
                        desktop.localizedStrings, given.threads),
      scanLog(desktop.folders, given.preferences, desktop.systemLog,
              [this](const std::function<void()>& wait) {
                services.platform.application.waitKeepingDesktopAlive(wait);
              }),
      mainApplication(desktop.application, desktop.applicationLauncher, given.clock,
                      desktop.distributedNotificationCenter, given.threads),
      dockWindow(desktop.application, given.preferences, desktop.systemLog, statusBoard),
      trayHint({desktop.folders, desktop.localizedStrings, desktop.systemLog, notifications},
               dockWindow, menu),
      folderOpener(desktop.application, desktop.workspace, given.threads),
      watching(*this),
      quarantineRecheck(
          {given.clock, desktop.localizedStrings, notifications, desktop.systemLog, given.threads,
           [this] { return services.preferences.value(key::quarantineFolder).value_or(""); },
           [this] { return preferences.settings()->clamScanPATH.value_or(""); }, &runningScanners,
           [this] {
             if (!mainApplication.openPage("quarantine")) {
               requests.attempt([this] {
                 folderOpener.open(services.preferences.value(key::quarantineFolder).value_or(""));
               });
             }
           }}),
      plannedScanNotice({desktop.localizedStrings, notifications,
                         [this] {
                           if (!mainApplication.openPage("results")) {
                             mainMenu.openScanLog();
                           }
                         }}),
      health({given.clock, desktop.systemLog, statusBoard,
              [this] {
                LoadedDefinitions loaded = clamdLink.loadedDefinitions();
                quarantineRecheck.definitionsAre(loaded);
                return loaded;
              },
              [this] { return watchList.missingFolders(); },
              [this] { return clamdLink.clamdStillAlive(); },
              [this] { return clamdLink.canUnpack(); },
              [this] {
                recentTotals.countAnew();
                mainMenu.showStatus();
                if (statusBoard.status().definitions != DefinitionState::none) {
                  definitionsWarning.definitionsCame();
                }
              },
              &unscannedFiles}),
      statusReport({menu, statusBoard, watchList, watching, preferences, recentTotals}) {}

}  // namespace quillo
