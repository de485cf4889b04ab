#pragma once

// How the workers see the agent: each class implements one narrow interface that a folder asks of
// its owner, by forwarding to the parts that it was given, since a folder includes neither another
// worker nor the agent.

#include <memory>
#include <string>
#include <vector>

#include "agent/DialogList.h"
#include "agent/Health.h"
#include "agent/MainApplication.h"
#include "agent/NoEngineWindow.h"
#include "agent/Preferences.h"
#include "agent/ScannerCount.h"
#include "agent/StatusBoard.h"
#include "agent/WatchList.h"
#include "agent/Watching.h"
#include "engine/ClamdLink.h"
#include "menu/Throbber.h"
#include "platform/AgentLink.h"
#include "platform/Volumes.h"
#include "posix/Mutex.h"
#include "scanning/Dispatcher.h"
#include "scanning/ScannerOwner.h"
#include "scanning/UnscannedFiles.h"
#include "settings/TypedPreferences.h"
#include "watchers/PathFilter.h"
#include "watchers/WatcherOwner.h"

namespace quillo {

class MenuForScanners final : public ScannerMenu {
 public:
  explicit MenuForScanners(const Throbber& menu) : mainMenu(menu) {}
  std::string getQuitMenuName() const override { return mainMenu.getQuitMenuName(); }

 private:
  const Throbber& mainMenu;
};

class MenuForWatchers final : public WatcherMenu {
 public:
  explicit MenuForWatchers(Throbber& menu) : mainMenu(menu) {}
  Mutex& monitor() override { return mainMenu.monitor(); }
  void setReady() override { mainMenu.setReady(); }
  void folderMissingPanic() override { mainMenu.folderMissingPanic(); }

 private:
  Throbber& mainMenu;
};

class ScannerLink final : public ScannerOwner {
 public:
  struct Parts {
    const Preferences& preferences;
    ClamdLink& engine;
    StatusBoard& statusBoard;
    Throbber& mainMenu;
    Watching& watching;
    FolderOpener& folderOpener;
    MainApplication& mainApplication;
  };
  explicit ScannerLink(const Parts& parts) : parts_(parts) {}

  std::shared_ptr<const WatchSettings> settings() override { return parts_.preferences.settings(); }
  bool clamdStillAlive() override { return parts_.engine.clamdStillAlive(); }
  void recoverFromCrashedClamd() override {
    recover([this] { return parts_.engine.recoverFromCrashedClamd(); });
  }
  void recoverUnreachableClamd() override {
    recover([this] { return parts_.engine.recoverUnreachableClamd(); });
  }
  void noEnginePanic(const std::string& program) override {
    parts_.statusBoard.setEngineMissing(true);
    parts_.mainMenu.showStatus();
    parts_.engine.noEnginePanic({EngineProblem::Kind::scannerFailed, program});
  }
  void quit() override { parts_.watching.quit(); }
  void openAndWait(const std::string& folder) override { parts_.folderOpener.openAndWait(folder); }
  void open(const std::string& folder) override { parts_.folderOpener.open(folder); }
  void openScanLog() override { parts_.mainMenu.openScanLog(); }
  bool openPage(const std::string& page) override { return parts_.mainApplication.openPage(page); }

 private:
  // Nothing is scanned without the daemon, and its user is not to be told otherwise.
  template <typename Launch>
  void recover(Launch launch) {
    try {
      noteDaemon(launch());
    } catch (...) {
      noteDaemon(false);
      throw;
    }
  }
  void noteDaemon(bool isThere) {
    parts_.statusBoard.setEngineFails(!isThere);
    parts_.mainMenu.showStatus();
  }

  const Parts parts_;
};

// Where the watchers' paths go: the queue itself.
class DispatcherIntake final : public PathIntake {
 public:
  explicit DispatcherIntake(Dispatcher& dispatcher) : theDispatcher(dispatcher) {}
  void addStringToItemList(const std::string& path) override {
    theDispatcher.addStringToItemList(path);
  }
  void addToItemList(std::vector<std::string>& paths) override {
    theDispatcher.addToItemList(paths);
  }

 private:
  Dispatcher& theDispatcher;
};

class WatcherLink final : public WatcherOwner {
 public:
  struct Parts {
    WatchList& watchList;
    Watching& watching;
    StatusBoard& statusBoard;
    Throbber& mainMenu;
    MainApplication& mainApplication;
  };
  explicit WatcherLink(const Parts& parts) : parts_(parts) {}

  std::shared_ptr<const WatchedFolderList> getWatchedFolderList() override {
    return parts_.watchList.getWatchedFolderList();
  }
  std::shared_ptr<const SubdirectoryFlags> getCheckSubDirs() override {
    return parts_.watchList.getCheckSubDirs();
  }
  void stopWatcherFromWatcher() override { parts_.watching.stopWatcherFromWatcher(); }
  void startWatcherFromWatcher() override { parts_.watching.startWatcherFromWatcher(); }
  void setHelperFails(bool fails) override {
    parts_.statusBoard.setHelperFails(fails);
    parts_.mainMenu.showStatus();
  }
  void showWhatMends() override {
    if (!parts_.mainApplication.openPage("overview")) {
      parts_.mainMenu.openScanLog();
    }
  }
  void showFolders() override {
    if (!parts_.mainApplication.openPage("folders")) {
      parts_.mainMenu.openScanLog();
    }
  }
  void setPlacesWithGaps(std::size_t count) override {
    parts_.statusBoard.setPlacesWithGaps(count);
    parts_.mainMenu.showStatus();
  }

 private:
  const Parts parts_;
};

// What the watchers would report now, and volumes, which are scanned as they appear. One thread.
class GuardLink final : public GuardedPlaces {
 public:
  struct Parts {
    WatchedFolders& watchedFolders;
    StatusBoard& statusBoard;
    const TypedPreferences& preferences;
    TrashFolders& trashFolders;
    Volumes& volumes;
  };
  explicit GuardLink(const Parts& parts)
      : parts_(parts), filter_(parts.watchedFolders, parts.trashFolders) {}

  bool takeNow() override {
    // While watching is being set up, the list of folders is not complete.
    if (parts_.statusBoard.status().settingUp ||
        parts_.watchedFolders.getWatchedFolderList()->empty()) {
      return false;
    }
    filter_.setQuarantineFolder(parts_.preferences.value(key::quarantineFolder).value_or(""));
    filter_.refresh();
    return true;
  }
  bool hold(const std::string& path) override {
    return filter_.passes(path) || parts_.volumes.isVolumeRoot(path);
  }

 private:
  const Parts parts_;
  PathFilter filter_;
};

class EngineLink final : public ClamdLinkOwner {
 public:
  EngineLink(const Preferences& preferences, NoEngineWindow& noEngineWindow,
             MainApplication& mainApplication)
      : preferences_(preferences),
        noEngineWindow_(noEngineWindow),
        mainApplication_(mainApplication) {}
  std::optional<std::string> clamPATH() override { return preferences_.settings()->clamPATH; }
  void displayNoEngineWindow(const EngineProblem& problem) override {
    noEngineWindow_.show(problem);
  }
  void showWhatMends() override {
    if (!mainApplication_.openPage("overview")) {
      noEngineWindow_.showAgain();
    }
  }

 private:
  const Preferences& preferences_;
  NoEngineWindow& noEngineWindow_;
  MainApplication& mainApplication_;
};

class MenuLink final : public ThrobberOwner {
 public:
  struct Parts {
    ScannerCount& scannerCount;
    StatusBoard& statusBoard;
    Watching& watching;
    Health& health;
    const Preferences& preferences;
    StatusPublisher& statusPublisher;
  };
  explicit MenuLink(const Parts& parts) : parts_(parts) {}

  std::int32_t scannerCount() override { return parts_.scannerCount.scannerCount(); }
  void modifyScannerCountBy(std::int32_t delta) override {
    parts_.scannerCount.modifyScannerCountBy(delta);
  }
  StatusFacts status() override { return parts_.statusBoard.status(); }
  Condition& throbberLock() override { return parts_.scannerCount.throbberLock(); }
  void restartWatcher() override { parts_.watching.restartWatcherSoon(); }
  void updateEnded() override { parts_.health.lookSoon(); }
  void statusChanged() override { parts_.statusPublisher.statusChanged(); }
  std::optional<std::string> updateLog() override {
    return parts_.preferences.settings()->updateLog;
  }

 private:
  const Parts parts_;
};

}  // namespace quillo
