#include "agent/AgentParts.h"

#include "platform/Application.h"
#include "platform/Folders.h"
#include "platform/MainInterface.h"

namespace quillo {

AgentParts::AgentParts(const AgentServices& given, Throbber& menu)
    : services(given),
      mainMenu(menu),
      putBackFiles(given.platform.folders.stateFolder(), given.platform.systemLog),
      progressLog(given.platform.systemLog),
      abortedScans(given.platform.systemLog, &progressLog),
      statusBoard({given.clock, given.platform.dockTile, given.platform.folders,
                   given.platform.localizedStrings}),
      notifications(given.platform.growl, given.platform.localizedStrings),
      menuForScanners(menu),
      scannerLink({theDispatcher, preferences, scannerCount, clamdLink, statusBoard, menu,
                   menuForScanners, watching, folderOpener, dialogList}),
      watcherLink({watchList, watching, notifications, statusBoard, menu}),
      engineLink(preferences, noEngineWindow),
      menuLink({scannerCount, statusBoard, watching, health, preferences}),
      scannerServices{given.platform.application,
                      given.clock,
                      given.platform.folders,
                      given.platform.interfaceLoader,
                      given.platform.localizedStrings,
                      given.platform.modifierKeys,
                      notifications,
                      given.preferences,
                      given.platform.systemLog,
                      given.platform.workspace,
                      &given.platform.fileDepartures,
                      &putBackFiles,
                      &progressLog,
                      &statusBoard,
                      &runningScanners,
                      &toldFiles,
                      &abortedScans},
      theDispatcher(given.clock, given.platform.systemLog, given.platform.volumes, &progressLog),
      intake(theDispatcher),
      watcherServices{given.platform.application,
                      given.platform.authorization,
                      given.clock,
                      given.platform.folders,
                      given.platform.localizedStrings,
                      given.platform.nameWatch,
                      given.preferences,
                      given.platform.systemLog,
                      given.platform.trashFolders,
                      intake},
      firstPatientScanner(scannerLink, scannerServices),
      secondPatientScanner(scannerLink, scannerServices),
      gfsLogger(watcherLink, watcherServices),
      nameWatcher(watcherLink, watcherServices),
      scannerCount(given.clock),
      clamdLink(
          engineLink,
          {given.platform.application, given.clock, given.platform.localizedStrings, notifications,
           given.platform.systemLog, given.threads, given.findDaemon, given.isMarked}),
      requests(given.platform.application, given.platform.systemLog),
      daemonStart(clamdLink, given.platform.systemLog),
      scratchFolders(given.platform.folders, given.platform.systemLog),
      preferences(given.platform.preferenceStore, given.preferences, given.platform.systemLog,
                  clamdLink, daemonStart, scratchFolders),
      preferenceFile({given.platform.application, given.platform.folders,
                      given.platform.preferenceStore, given.platform.systemLog,
                      given.platform.workspace}),
      noEngineWindow({given.platform.application, given.platform.applicationLauncher,
                      given.platform.localizedStrings, given.platform.mainInterface},
                     preferences, preferenceFile),
      definitionsWarning(
          {given.platform.application, given.platform.localizedStrings, given.platform.systemLog,
           notifications},
          clamdLink,
          [this] {
            requests.attempt([this] { definitionUpdates.updateVirusDefsAndNotify(true); });
          }),
      scanParameters(given.platform.folders, menuForScanners),
      watchList({given.platform.mountNotifications, given.platform.preferenceStore,
                 given.preferences, given.platform.systemLog},
                menu, theDispatcher),
      definitionUpdates(preferences, notifications, menu, noEngineWindow, definitionsWarning,
                        given.platform.mainInterface.updateWindow, given.platform.localizedStrings,
                        given.threads),
      scanLog(given.platform.folders, given.preferences, given.platform.systemLog,
              [this](const std::function<void()>& wait) {
                services.platform.application.waitKeepingDesktopAlive(wait);
              }),
      mainApplication(given.platform.application, given.platform.applicationLauncher, given.clock,
                      given.platform.distributedNotificationCenter, given.threads),
      dockWindow(given.platform.application, given.preferences, given.platform.systemLog,
                 statusBoard),
      trayHint({given.platform.folders, given.platform.localizedStrings, given.platform.systemLog,
                notifications},
               dockWindow, menu),
      folderOpener(given.platform.application, given.platform.workspace, given.threads),
      mending{given.platform.applicationLauncher,
              definitionUpdates,
              mainApplication,
              noEngineWindow,
              preferenceFile,
              menu},
      watching(*this),
      health({given.clock, given.platform.systemLog, statusBoard,
              [this] { return clamdLink.loadedDefinitions(); },
              [this] { return watchList.missingFolders(); },
              [this] {
                mainMenu.showStatus();
                if (statusBoard.status().definitions != DefinitionState::none) {
                  definitionsWarning.definitionsCame();
                }
              }}) {}

}  // namespace quillo
