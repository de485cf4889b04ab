#pragma once

// How the workers see the agent: each link implements the narrow interface that a folder asks of
// its owner, by forwarding to the delegate.

#include "agent/DefinitionUpdates.h"
#include "engine/ClamdLink.h"
#include "menu/ThrobberOwner.h"
#include "scanning/Dispatcher.h"
#include "scanning/ScannerOwner.h"
#include "watchers/WatcherOwner.h"

namespace quillo {

class VantrelQuillo;

class MenuForScanners final : public ScannerMenu {
 public:
  explicit MenuForScanners(VantrelQuillo& agent) : agent_(agent) {}
  std::string getQuitMenuName() const override;

 private:
  VantrelQuillo& agent_;
};

class MenuForWatchers final : public WatcherMenu {
 public:
  explicit MenuForWatchers(VantrelQuillo& agent) : agent_(agent) {}
  Mutex& monitor() override;
  void setReady() override;
  void folderMissingPanic() override;

 private:
  VantrelQuillo& agent_;
};

class ScannerLink final : public ScannerOwner {
 public:
  explicit ScannerLink(VantrelQuillo& agent) : agent_(agent) {}
  Dispatcher& theDispatcher() override;
  std::shared_ptr<const WatchSettings> settings() override;
  void modifyScannerCountBy(std::int32_t delta) override;
  bool clamdStillAlive() override;
  void recoverFromCrashedClamd() override;
  void recoverUnreachableClamd() override;
  void noEnginePanic(const std::string& program) override;
  std::string getQuitMenuName() override;
  void quit() override;
  void openAndWait(const std::string& folder) override;
  void open(const std::string& folder) override;
  void openScanLog() override;
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t code, const std::string& description,
                                                 const NotificationDetails& details) override;
  void withdrawNotification(const std::string& topic) override;
  void addToDialogList(std::shared_ptr<FileRemover> dialog) override;
  void removeFromDialogList(const FileRemover& dialog) override;
  void removeAllFromDialogList() override;

 private:
  VantrelQuillo& agent_;
};

// Where the watchers' paths go: the queue itself.
class DispatcherIntake final : public PathIntake {
 public:
  explicit DispatcherIntake(Dispatcher& theDispatcher) : theDispatcher_(theDispatcher) {}
  void addStringToItemList(const std::string& path) override {
    theDispatcher_.addStringToItemList(path);
  }
  void addToItemList(std::vector<std::string>& paths) override {
    theDispatcher_.addToItemList(paths);
  }

 private:
  Dispatcher& theDispatcher_;
};

class WatcherLink final : public WatcherOwner {
 public:
  explicit WatcherLink(VantrelQuillo& agent) : agent_(agent) {}
  std::shared_ptr<const WatchedFolderList> getWatchedFolderList() override;
  std::shared_ptr<const SubdirectoryFlags> getCheckSubDirs() override;
  void stopWatcherFromWatcher() override;
  void startWatcherFromWatcher() override;
  bool displayError(const std::string& description) override;
  bool displayHelperError(const std::string& description) override;
  void withdrawHelperErrors() override;
  void setHelperFails(bool fails) override;
  void setPlacesWithGaps(std::size_t count) override;

 private:
  VantrelQuillo& agent_;
};

class EngineLink final : public ClamdLinkOwner, public UpdateWindows {
 public:
  explicit EngineLink(VantrelQuillo& agent) : agent_(agent) {}
  std::optional<std::string> clamPATH() override;
  bool displayError(const std::string& description) override;
  void displayNoEngineWindow(const EngineProblem& problem) override;
  void displayUpdateResult(const std::string& text) override;
  void definitionsCame() override;
  void openUpdateLog() override;
  void waitKeepingDesktopAlive(const std::function<void()>& wait) override;

 private:
  VantrelQuillo& agent_;
};

class MenuLink final : public ThrobberOwner {
 public:
  explicit MenuLink(VantrelQuillo& agent) : agent_(agent) {}
  std::int32_t scannerCount() override;
  void modifyScannerCountBy(std::int32_t delta) override;
  StatusFacts status() override;
  Condition& throbberLock() override;
  void restartWatcher() override;
  void updateEnded() override;
  std::optional<std::string> updateLog() override;

 private:
  VantrelQuillo& agent_;
};

}  // namespace quillo
