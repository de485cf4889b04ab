#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include "menu/StatusText.h"
#include "platform/Image.h"
#include "platform/MainInterface.h"
#include "posix/Mutex.h"
#include "posix/Snapshot.h"

namespace quillo {

class Application;
class Clock;
class DockTile;
class Folders;
class ImageLoader;
class LocalizedStrings;
class ModifierKeys;
class StatusBar;
class StatusItem;
class SystemLog;
class TypedPreferences;
class Workspace;

// A fixed item of the status menu. Its state is always set explicitly, never by the desktop.
class MyMenuItem {
 public:
  explicit MyMenuItem(MenuItem& item) : item_(item) {}

  // Returns false always: automatic enabling has no say.
  bool validateUserInterfaceItem() const { return false; }

  std::string title() const { return item_.title(); }
  void setTitle(const std::string& title) { item_.setTitle(title); }
  bool isEnabled() const { return item_.isEnabled(); }
  void setEnabled(bool enabled) { item_.setEnabled(enabled); }
  void setHidden(bool hidden) { item_.setHidden(hidden); }
  MenuItem& item() { return item_; }

 private:
  MenuItem& item_;
};

// The services that the status menu uses. All of them outlive it.
struct ThrobberServices {
  Application& application;
  Clock& clock;
  DockTile& dockTile;
  Folders& folders;
  ImageLoader& imageLoader;
  LocalizedStrings& localizedStrings;
  MainInterface& mainInterface;
  ModifierKeys& modifierKeys;
  const TypedPreferences& preferences;
  StatusBar& statusBar;
  SystemLog& systemLog;
  Workspace& workspace;
};

// What the status menu asks of its owner. Any thread, unless said otherwise.
class ThrobberOwner {
 public:
  virtual ~ThrobberOwner() = default;
  // Returns the number of scans and updates that run now, which is read without a lock.
  virtual std::int32_t scannerCount() = 0;
  virtual void modifyScannerCountBy(std::int32_t delta) = 0;
  // Returns all facts but those that the status menu itself knows.
  virtual StatusFacts status() = 0;
  // Returns what is signalled at every change of the count.
  virtual Condition& throbberLock() = 0;
  // Has watching started anew. Main thread.
  virtual void restartWatcher() = 0;
  // Takes note that a definition update has ended, well or not.
  virtual void updateEnded() = 0;
  // Takes note that what the status menu itself knows, or shows, may be another.
  virtual void statusChanged() = 0;
  // Returns the log of definition updates, or nothing when no preference names it. Main thread.
  virtual std::optional<std::string> updateLog() = 0;
};

// Element 0 is for the status item, element 1 for the Dock tile.
using ImagePair = std::array<ImageRef, 2>;

// The pictures that the status item and the Dock tile show.
struct ThrobberImages {
  static constexpr std::size_t frameCount = 8;

  // Loads them in the order of the members. Any thread.
  static ThrobberImages load(ImageLoader& loader);

  ImagePair defaultImage;
  // Shown instead while the menu is open: while watching, and while idle.
  ImagePair altImage;
  ImagePair altImage2;
  ImagePair watchingImage;
  // The forms of the two that say: but not as well as it seems.
  ImagePair defaultAttentionImage;
  ImagePair watchingAttentionImage;
  // Frames 1 to 8, from index 0. The last one is in no animation.
  std::array<ImagePair, frameCount> frames;
};

// The agent's presence in the panel: icon, animation and menu. One thread runs mainLoop(). The icon
// and the menu items take changes from any thread without a lock of this object: the last writer
// wins, deliberately, and the flags are atomic.
class Throbber {
 public:
  // Makes the status item. Main thread.
  explicit Throbber(const ThrobberServices& services);
  ~Throbber();

  // Makes the owner known. To be called before any other thread uses this object; what takes an
  // owner below does it, if it has not been done.
  void setController(ThrobberOwner& owner) { vantrelQuilloController = &owner; }
  // Prepares icon and menu, then runs rounds forever.
  void mainLoop(ThrobberOwner& owner);
  // Prepares icon and menu, as the loop does once at its start.
  void prepare(ThrobberOwner& owner);
  // Does one turn of the loop: waits until something is scanned or updated while watching goes on,
  // and animates for as long.
  void round();

  // Show that a definition update runs, and that it has ended. To be called with monitor() held.
  void startUpdate();
  void stopUpdate();
  Mutex& monitor() { return monitor_; }

  void setNumItemsToWatch(std::int32_t count) { numItemsToWatch = count; }
  // Counts one more watched folder as ready; watching is shown when all are.
  void setReady();
  // Forgets the watched folders and shows that nothing is watched.
  void clearMenu();
  // Lists one more watched folder; both arguments are its path.
  void addToMenuWithObjectToWatch(const std::string& title, const std::string& object);
  // Enables the commands of a mode: 0 setting up or no engine, 1 idle, 2 watching, 3 busy; any
  // other changes nothing.
  void enableMenuItems(std::int32_t mode);

  // Shows in words what the agent is doing, in the status item and in the Dock tile, when that has
  // changed. To be called when what the owner knows of it may have. Any thread.
  void showStatus();
  // Returns those words. Any thread.
  std::string stateInWords() { return statusText_.wordsFor(status()); }
  // Returns the facts behind them. Any thread.
  StatusFacts status();

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
  // Returns what the icon and the first lines of the menu say to be wrong.
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
  MyMenuItem stateMenuItem_;
  MyMenuItem mendMenuItem_;
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
