#include "agent/Links.h"

#include "agent/VantrelQuillo.h"

namespace quillo {

std::string MenuForScanners::getQuitMenuName() const { return agent_.mainMenu().getQuitMenuName(); }

Mutex& MenuForWatchers::monitor() { return agent_.mainMenu().monitor(); }
void MenuForWatchers::setReady() { agent_.mainMenu().setReady(); }
void MenuForWatchers::folderMissingPanic() { agent_.mainMenu().folderMissingPanic(); }

Dispatcher& ScannerLink::theDispatcher() { return agent_.theDispatcher(); }
std::shared_ptr<const WatchSettings> ScannerLink::settings() { return agent_.settings(); }
void ScannerLink::modifyScannerCountBy(std::int32_t delta) { agent_.modifyScannerCountBy(delta); }
bool ScannerLink::clamdStillAlive() { return agent_.engine().clamdStillAlive(); }
void ScannerLink::recoverFromCrashedClamd() { agent_.engine().recoverFromCrashedClamd(); }
void ScannerLink::recoverUnreachableClamd() { agent_.engine().recoverUnreachableClamd(); }
void ScannerLink::noEnginePanic(const std::string& program) {
  agent_.statusBoard().setEngineMissing(true);
  agent_.mainMenu().showStatus();
  agent_.engine().noEnginePanic({EngineProblem::Kind::scannerFailed, program});
}
std::string ScannerLink::getQuitMenuName() { return agent_.mainMenu().getQuitMenuName(); }
void ScannerLink::quit() { agent_.quit(); }
void ScannerLink::openAndWait(const std::string& folder) { agent_.openAndWait(folder); }
void ScannerLink::open(const std::string& folder) { agent_.open(folder); }
void ScannerLink::openScanLog() { agent_.openScanLog(); }
bool ScannerLink::displayGrowlDialogWithTitleAndDescription(std::int32_t code,
                                                            const std::string& description,
                                                            const NotificationDetails& details) {
  return agent_.displayGrowlDialogWithTitleAndDescription(code, description, details);
}
void ScannerLink::withdrawNotification(const std::string& topic) {
  agent_.withdrawNotification(topic);
}
void ScannerLink::addToDialogList(std::shared_ptr<FileRemover> dialog) {
  agent_.dialogList().addToDialogList(std::move(dialog));
}
void ScannerLink::removeFromDialogList(const FileRemover& dialog) {
  agent_.dialogList().removeFromDialogList(dialog);
}
void ScannerLink::removeAllFromDialogList() { agent_.dialogList().removeAllFromDialogList(); }

std::shared_ptr<const WatchedFolderList> WatcherLink::getWatchedFolderList() {
  return agent_.getWatchedFolderList();
}
std::shared_ptr<const SubdirectoryFlags> WatcherLink::getCheckSubDirs() {
  return agent_.getCheckSubDirs();
}
void WatcherLink::stopWatcherFromWatcher() { agent_.stopWatcherFromWatcher(); }
void WatcherLink::startWatcherFromWatcher() { agent_.startWatcherFromWatcher(); }
bool WatcherLink::displayError(const std::string& description) {
  return agent_.displayGrowlDialogWithTitleAndDescription(notificationError, description);
}
bool WatcherLink::displayHelperError(const std::string& description) {
  NotificationDetails details;
  details.topic = helperTopic;
  return agent_.displayGrowlDialogWithTitleAndDescription(notificationError, description, details);
}
void WatcherLink::withdrawHelperErrors() { agent_.withdrawNotification(helperTopic); }
void WatcherLink::setHelperFails(bool fails) {
  agent_.statusBoard().setHelperFails(fails);
  agent_.mainMenu().showStatus();
}
void WatcherLink::setPlacesWithGaps(std::size_t count) {
  agent_.statusBoard().setPlacesWithGaps(count);
  agent_.mainMenu().showStatus();
}

std::optional<std::string> EngineLink::clamPATH() { return agent_.settings()->clamPATH; }
bool EngineLink::displayError(const std::string& description) {
  NotificationDetails details;
  details.topic = engineTopic;
  return agent_.displayGrowlDialogWithTitleAndDescription(notificationError, description, details);
}
void EngineLink::displayNoEngineWindow(const EngineProblem& problem) {
  agent_.displayNoEngineWindow(problem);
}
void EngineLink::displayUpdateResult(const std::string& text) { agent_.displayUpdateResult(text); }
void EngineLink::definitionsCame() { agent_.definitionsCame(); }
void EngineLink::openUpdateLog() { agent_.openUpdateLog(); }
void EngineLink::waitKeepingDesktopAlive(const std::function<void()>& wait) {
  agent_.waitKeepingDesktopAlive(wait);
}

std::int32_t MenuLink::scannerCount() { return agent_.scannerCount(); }
void MenuLink::modifyScannerCountBy(std::int32_t delta) { agent_.modifyScannerCountBy(delta); }
StatusFacts MenuLink::status() { return agent_.statusBoard().status(); }
Condition& MenuLink::throbberLock() { return agent_.throbberLock(); }
void MenuLink::restartWatcher() { agent_.restartWatcherSoon(); }
void MenuLink::updateEnded() { agent_.health().lookSoon(); }
std::optional<std::string> MenuLink::updateLog() { return agent_.settings()->updateLog; }

}  // namespace quillo
