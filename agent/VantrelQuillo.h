#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "agent/AgentParts.h"
#include "platform/Dialog.h"

namespace quillo {

// The agent, as the desktop's application delegate and under the names of its vocabulary. What it
// offers lies in its parts.
class VantrelQuillo {
 public:
  // Makes every worker and lock, and lays standard output and error onto the scan log.
  VantrelQuillo(const AgentServices& services, Throbber& mainMenu);
  // Ends every running scanner.
  ~VantrelQuillo();
  VantrelQuillo(const VantrelQuillo&) = delete;
  VantrelQuillo& operator=(const VantrelQuillo&) = delete;

  // Starts the workers' threads, begins to watch and listens to the desktop. Once; main thread.
  void applicationDidFinishLaunching();
  void applicationWillTerminate() { quit(); }

  // Requests; main thread.
  void startWatcherAndUpdate(bool update) { parts_.watching.startWatcherAndUpdate(update); }
  void startWatcher() { startWatcherAndUpdate(false); }
  void stopWatcher() { parts_.watching.stopWatcher(); }
  void restartWatcher() { parts_.watching.restartWatcher(); }
  void goingToSleep() { parts_.watching.goingToSleep(); }
  void wakingUp() { parts_.watching.wakingUp(); }
  void quit() { parts_.watching.quit(); }
  // Drops what waits for a scan and ends every running scanner. The log says how many files were
  // not scanned for it, once the last of those scanners has ended.
  void abortScans();
  void updateVirusDefs();
  void openApp() { parts_.mainApplication.openApp(); }
  void openAppFromError();
  // Quits afterwards when the request comes from a dialog's own button.
  void openPrefs(bool fromDialogButton);
  // Brings the agent's window to the front and returns 0, or the error's number. Where no engine
  // was usable, whoever asks may have mended that: it is tried again.
  int showItself();
  // Scripts may read one key, which asks for a restart and does not wait for it.
  static bool applicationDelegateHandlesKey(const std::string& key);
  std::string restartWatchingViaAS();

  // Any thread.
  static void displayDialog(Dialog& window) { quillo::displayDialog(window); }
  Dispatcher& theDispatcher() { return parts_.theDispatcher; }
  Throbber& mainMenu() { return parts_.mainMenu; }
  Condition& throbberLock() { return parts_.scannerCount.throbberLock(); }
  Mutex& scannerCountLock() { return parts_.scannerCount.scannerCountLock(); }
  std::int32_t scannerCount() const { return parts_.scannerCount.scannerCount(); }
  void modifyScannerCountBy(std::int32_t delta) { parts_.scannerCount.modifyScannerCountBy(delta); }
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t code,
                                                 const std::string& description) {
    return parts_.notifications.displayGrowlDialogWithTitleAndDescription(code, description);
  }
  std::shared_ptr<const WatchedFolderList> getWatchedFolderList() const {
    return parts_.watchList.getWatchedFolderList();
  }
  std::shared_ptr<const SubdirectoryFlags> getCheckSubDirs() const {
    return parts_.watchList.getCheckSubDirs();
  }
  std::optional<std::string> freshclamLogLocation() const {
    return DefinitionUpdates::freshclamLogLocation(*parts_.preferences.settings());
  }
  std::string getQuarantineOrTrash() const {
    return letterOf(parts_.preferences.settings()->quarantineOrTrash);
  }
  std::string getQuarantineLocation() const {
    return ScanParameters::quarantineLocation(*parts_.preferences.settings());
  }
  // Return a regular expression, or "".
  std::string getIncludePattern() const { return parts_.preferences.settings()->includePattern; }
  std::string getExcludePattern() const { return parts_.preferences.settings()->excludePattern; }
  bool needsExit1FreshclamFlag() const {
    return parts_.preferences.settings()->needsExit1FreshclamFlag;
  }

  // Main thread.
  void setNeedsExit1FreshclamFlag(bool needed) {
    parts_.preferences.setNeedsExit1FreshclamFlag(needed);
  }
  std::optional<std::string> getTheTempDirToWatch() const {
    return parts_.scratchFolders.theTempDirToWatch;
  }
  std::optional<std::string> getTheThrobberTempDir() const {
    return parts_.scratchFolders.theThrobberTempDir;
  }
  bool okToAddDir(const std::string& path) const {
    return parts_.watchList.okToAddDir(path, parts_.preferences.settings()->quarantineFolder);
  }
  bool isWatching() const { return parts_.gfsLogger.isWatching(); }

  AgentParts& parts() { return parts_; }

 private:
  void connectInterface();
  void startThreads();
  void answerScripts();
  void listenToDesktop();
  void mend();

  AgentParts parts_;
};

}  // namespace quillo
