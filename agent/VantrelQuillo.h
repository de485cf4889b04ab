#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "agent/AgentServices.h"
#include "agent/DefinitionUpdates.h"
#include "agent/DialogList.h"
#include "agent/Health.h"
#include "agent/Links.h"
#include "agent/MainApplication.h"
#include "agent/MainThreadRequests.h"
#include "agent/Notifications.h"
#include "agent/PreferenceFile.h"
#include "agent/Preferences.h"
#include "agent/ProgressLog.h"
#include "agent/ScanLog.h"
#include "agent/ScanParameters.h"
#include "agent/ScannerCount.h"
#include "agent/ScratchFolders.h"
#include "agent/SeenHints.h"
#include "agent/StatusBoard.h"
#include "agent/WatchList.h"
#include "engine/ClamdLink.h"
#include "engine/DaemonStart.h"
#include "menu/Throbber.h"
#include "platform/Dialog.h"
#include "platform/StatusItem.h"
#include "posix/Snapshot.h"
#include "scanning/AbortedScans.h"
#include "scanning/Dispatcher.h"
#include "scanning/LimitNotice.h"
#include "scanning/PatientScanner.h"
#include "scanning/PutBackFiles.h"
#include "scanning/RunningScanners.h"
#include "scanning/ScannerServices.h"
#include "watchers/FSEventWatcher.h"
#include "watchers/NameWatcher.h"

namespace quillo {

// The agent: owns every worker and part for the life of the process and connects them. Requests of
// user and desktop arrive on the main thread; those that start or stop watching are done one at a
// time.
class VantrelQuillo {
 public:
  // Makes every worker and lock, and lays standard output and error onto the scan log.
  VantrelQuillo(const AgentServices& services, Throbber& mainMenu);
  ~VantrelQuillo();
  VantrelQuillo(const VantrelQuillo&) = delete;
  VantrelQuillo& operator=(const VantrelQuillo&) = delete;

  // Starts the workers' threads, begins to watch and listens to the desktop. Once; main thread.
  void applicationDidFinishLaunching();
  void applicationWillTerminate() { quit(); }

  // Requests; main thread.
  void startWatcherAndUpdate(bool update);
  void startWatcher() { startWatcherAndUpdate(false); }
  void stopWatcher();
  void restartWatcher();
  // As above, once what asks for it has ended: a restart may take as long as the engine loads.
  void restartWatcherSoon();
  void goingToSleep();
  void wakingUp();
  // Drops what waits for a scan and ends every running scanner. The log says how many files were
  // not scanned for it, once the last of those scanners has ended.
  void abortScans();
  void updateVirusDefs();
  void openApp() { mainApplication_.openApp(); }
  void openAppFromError();
  // Brings the window of the Dock tile to the front, whether or not there is to be a Dock tile; 0,
  // or the error's number. Where no engine was usable, whoever asks may have mended that: it is
  // tried again.
  int showItself();
  // Does about what the icon says to be wrong whatever can be done about it.
  void mend();
  // Quits afterwards when the request comes from a dialog's own button.
  void openPrefs(bool fromDialogButton);
  // Stops watching, stops the daemon if the last start of watching launched it, says so to the
  // other applications and ends the process with status 0, without waiting for anything that runs
  // (its scanners are ended) but a daemon of its own that is being launched, for the first time or
  // again: then it may return, and the end comes when the daemon can be told, or is given up after
  // a minute.
  void quit();
  // Scripts may read one key, which asks for a restart and does not wait for it.
  static bool applicationDelegateHandlesKey(const std::string& key);
  std::string restartWatchingViaAS();

  // Dialogs; any thread.
  static void displayDialog(Dialog& window);
  void displayNoEngineWindow(const EngineProblem& problem);
  void displayUpdateResult(const std::string& text);

  // From the watcher's thread.
  void stopWatcherFromWatcher();
  void startWatcherFromWatcher();

  // Shared state, reached by every part; any thread.
  Dispatcher& theDispatcher() { return theDispatcher_; }
  Throbber& mainMenu() { return mainMenu_; }
  ClamdLink& engine() { return clamdLink_; }
  DialogList& dialogList() { return dialogList_; }
  RunningScanners& runningScanners() { return runningScanners_; }
  StatusBoard& statusBoard() { return statusBoard_; }
  Health& health() { return health_; }
  Condition& throbberLock() { return scannerCount_.throbberLock(); }
  Mutex& scannerCountLock() { return scannerCount_.scannerCountLock(); }
  std::int32_t scannerCount() const { return scannerCount_.scannerCount(); }
  void modifyScannerCountBy(std::int32_t delta) { scannerCount_.modifyScannerCountBy(delta); }
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t code, const std::string& description,
                                                 const NotificationDetails& details = {}) {
    return notifications_.displayGrowlDialogWithTitleAndDescription(code, description, details);
  }
  void withdrawNotification(const std::string& topic) { notifications_.withdraw(topic); }
  // Takes back what was said of missing definitions and failed updates, as far as it is over.
  void definitionsCame();
  std::shared_ptr<const WatchedFolderList> getWatchedFolderList() const {
    return watchList_.getWatchedFolderList();
  }
  std::shared_ptr<const SubdirectoryFlags> getCheckSubDirs() const {
    return watchList_.getCheckSubDirs();
  }
  std::optional<std::string> freshclamLogLocation() const {
    return DefinitionUpdates::freshclamLogLocation(*settings());
  }
  std::shared_ptr<const WatchSettings> settings() const { return preferences_.settings(); }
  std::string getQuarantineOrTrash() const { return letterOf(settings()->quarantineOrTrash); }
  std::string getQuarantineLocation() const {
    return ScanParameters::quarantineLocation(*settings());
  }
  std::string getIncludePattern() const { return settings()->includePattern; }
  std::string getExcludePattern() const { return settings()->excludePattern; }
  void waitKeepingDesktopAlive(const std::function<void()>& wait);

  // Main thread.
  DaemonStart& daemonStart() { return daemonStart_; }
  std::optional<std::string> getTheTempDirToWatch() const {
    return scratchFolders_.theTempDirToWatch;
  }
  std::optional<std::string> getTheThrobberTempDir() const {
    return scratchFolders_.theThrobberTempDir;
  }
  bool needsExit1FreshclamFlag() const { return settings()->needsExit1FreshclamFlag; }
  void setNeedsExit1FreshclamFlag(bool needed) { preferences_.setNeedsExit1FreshclamFlag(needed); }
  bool okToAddDir(const std::string& path) const {
    return watchList_.okToAddDir(path, settings()->quarantineFolder);
  }
  ScanParameters& scanParameters() { return scanParameters_; }
  bool isWatching() const { return gfsLogger.isWatching(); }
  // Opens the folder with the desktop's opener and waits for that to end.
  void openAndWait(const std::string& folder);
  // Opens it and does not wait.
  void open(const std::string& folder);
  // Open a log as the menu does.
  void openScanLog();
  void openUpdateLog();

 private:
  void perform(std::function<void()> request);
  void quitOnceLaunched();
  void quitNow();
  void attempt(const std::function<void()>& request);
  void connectInterface();
  void startThreads();
  void listenToDesktop();
  void answerScripts();
  void showDockTileIfWanted();
  bool wantsDockTile() const;
  // The same as the requests of these names, while a request is being performed.
  void beginWatching(bool update);
  void setUpAndWatch(bool update);
  void tellNoEngine(const EngineProblem& problem);
  void lookAfterHealth();
  void tellOfHealth();
  int showWindow();
  void tellOfRoom(StatusBar::Room room, const std::string& desktop);
  bool notifyOfRoom();
  void endWatching();
  void finishEndOfWatching();
  void startWatcherThread();
  void warnOfMissingDefinitions();

  // Constant after construction.
  const AgentServices services_;
  Throbber& mainMenu_;
  MenuForScanners menuForScanners_;
  ScannerLink scannerLink_;
  WatcherLink watcherLink_;
  EngineLink engineLink_;
  MenuLink menuLink_;
  const ScannerServices scannerServices_;
  // Own synchronisation.
  RunningScanners runningScanners_;
  PutBackFiles putBackFiles_;
  ProgressLog progressLog_;
  ToldFiles toldFiles_;
  AbortedScans abortedScans_;
  StatusBoard statusBoard_;
  Dispatcher theDispatcher_;
  DispatcherIntake intake_;
  const WatcherServices watcherServices_;
  PatientScanner firstPatientScanner;
  PatientScanner secondPatientScanner;
  FSEventWatcher gfsLogger;
  NameWatcher nameWatcher_;
  ScannerCount scannerCount_;
  ClamdLink clamdLink_;
  Notifications notifications_;
  DialogList dialogList_;
  // The last problem that a window told of.
  Snapshot<EngineProblem> engineProblem_;
  // Main thread, but for what their headers say.
  DaemonStart daemonStart_;
  ScratchFolders scratchFolders_;
  Preferences preferences_;
  ScanParameters scanParameters_;
  WatchList watchList_;
  DefinitionUpdates definitionUpdates_;
  ScanLog scanLog_;
  MainApplication mainApplication_;
  PreferenceFile preferenceFile_;
  SeenHints seenHints_;
  MainThreadRequests requests_;
  Health health_;  // asks others of these
  bool startAfterSleep = false;
  bool healthIsLookedAfter_ = false;
  bool quitWaits_ = false;
};

}  // namespace quillo
