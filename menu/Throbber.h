#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include "menu/MyMenuItem.h"
#include "menu/StatusText.h"
#include "menu/ThrobberImages.h"
#include "menu/ThrobberOwner.h"
#include "menu/ThrobberServices.h"
#include "posix/Mutex.h"
#include "posix/Snapshot.h"

namespace quillo {

class StatusItem;

// The agent's presence in the panel: icon, animation and menu. One thread runs mainLoop(). The icon
// and the menu items take changes from any thread without a lock of this object: the last writer
// wins, deliberately, and the flags are atomic.
class Throbber {
 public:
  // Makes the status item. Main thread.
  explicit Throbber(const ThrobberServices& services);
  ~Throbber();

  // Makes the owner known: before any other thread uses this object. What takes an owner below does
  // it, if it has not been done.
  void setController(ThrobberOwner& owner) { vantrelQuilloController = &owner; }
  // Prepares icon and menu, then runs rounds forever.
  void mainLoop(ThrobberOwner& owner);
  // What the loop does once at its start.
  void prepare(ThrobberOwner& owner);
  // One turn of the loop: waits until something is scanned or updated while watching goes on, and
  // animates for as long.
  void round();

  // To be called with monitor() held, around a definition update.
  void startUpdate();
  void stopUpdate();
  Mutex& monitor() { return monitor_; }

  void setNumItemsToWatch(std::int32_t count) { numItemsToWatch = count; }
  // One more watched folder is ready; watching is shown when all are.
  void setReady();
  // Forgets the watched folders and shows that nothing is watched.
  void clearMenu();
  // One more watched folder; both arguments are its path.
  void addToMenuWithObjectToWatch(const std::string& title, const std::string& object);
  // 0 setting up or no engine, 1 idle, 2 watching, 3 busy; any other changes nothing.
  void enableMenuItems(std::int32_t mode);

  // Says in words what the agent is doing, in the status item and in the Dock tile, when that has
  // changed. To be called when what the owner knows of it may have; any thread.
  void showStatus() { statusText_.show(); }
  // What it says. Any thread.
  std::string stateInWords() { return statusText_.wordsFor(status()); }

  // Any thread.
  std::string getQuitMenuName() const { return quitMenuItem.title(); }

  // Commands of the menu. Main thread.
  void openFolder(const std::string& itemTitle);
  void openLog(const MenuItem& sender);
  void openScanLog();
  void openUpdateLog();
  void folderMissingPanic();
  // Restarts watching if the restart command is enabled, else drops the request.
  void canRestartFromAS();

  bool isCurrentlyWatching() const { return currentlyWatching; }
  bool isUpdating() const { return updating; }
  // What the icon and the first lines of the menu say to be wrong.
  Attention attention() const { return attention_; }

 private:
  void animateMenuForScan();
  void animateMenuForUpdate();
  // What the icon shows while nothing moves.
  enum class Rest { none, idle, watching };

  void setMenuAndDockTile(const ImagePair& pair);
  void rest(Rest state);
  void showRest();
  void setAlternateImage(const ImagePair& pair);
  void showFrame(std::size_t number, Clock::Duration length);
  void showWatching();
  void waitUntilSomethingRuns();
  StatusFacts status();
  void showLine(const StatusLine& line);
  void showMend();
  void setQuitEnabled(bool enabled);
  std::optional<std::string> pathOfLog(const MenuItem& sender);

  // Constant after construction (the owner: after setController).
  const ThrobberServices services_;
  std::optional<std::string> showDockPref;
  StatusItem* statusItem = nullptr;
  MyMenuItem startMenuItem;
  MyMenuItem stopMenuItem;
  MyMenuItem foldersWatchedMenuItem;
  MyMenuItem restartMenuItem;
  MyMenuItem abortMenuItem;
  MyMenuItem abortConfirmMenuItem;
  MyMenuItem quitMenuItem;
  MyMenuItem updateDefsMenuItem;
  MyMenuItem stateMenuItem;
  MyMenuItem mendMenuItem;
  // The title that the interface file gives the start item.
  const std::string startWatchingMenuItemText;

  // Own synchronisation. The images are loaded by the animation thread and used by whoever shows
  // something.
  Mutex monitor_;
  std::atomic<ThrobberOwner*> vantrelQuilloController{nullptr};
  Snapshot<ThrobberImages> images_;
  StatusText statusText_;
  std::atomic<std::int32_t> scanningCounter{0};
  std::atomic<std::int32_t> numItemsToWatch{0};
  std::atomic<std::int32_t> numReadyToWatch{0};
  std::atomic<bool> isSettingUp_{false};
  std::atomic<bool> isBusy_{false};
  std::atomic<Rest> rest_{Rest::none};
  std::atomic<Attention> attention_{Attention::none};
  std::atomic<bool> currentlyWatching{false};
  std::atomic<bool> updating{false};
  std::atomic<bool> willRestartWatching{false};
};

}  // namespace quillo
