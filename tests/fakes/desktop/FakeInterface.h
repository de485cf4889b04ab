#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Application.h"
#include "platform/Dialog.h"
#include "platform/MainInterface.h"
#include "platform/StatusItem.h"
#include "posix/ThreadStarter.h"

// What a user would see, kept for tests to look at.
namespace quillo {

class FakeDialog final : public ButtonDialog {
 public:
  void orderFrontRegardless() override { record("orderFrontRegardless"); }
  void makeFloatingKeyAndOrderFront() override { record("makeFloatingKeyAndOrderFront"); }
  void orderOut() override { record("orderOut"); }
  void close() override;
  void setMessage(const std::string& message) override;
  std::string message() const override;
  void setDeleteButtonTitle(const std::string& title) override;
  void setAction(Action action) override;
  void setKind(Kind kind) override;
  void setSubject(const std::string& text) override;
  void setFind(const std::string& path, const std::string& threat) override;
  void setSuspicious(bool suspicious) override;
  void showFailure(const std::string& text) override;

  // As a user would. Does nothing after close().
  void press(Button button);
  bool isClosed() const;
  bool cameToFront() const;
  std::string deleteButtonTitle() const;
  // Empty before the kind was given.
  std::optional<Kind> kind() const;
  std::string subject() const;
  // Path and threat; empty when it was given none.
  std::pair<std::string, std::string> find() const;
  bool isSuspicious() const;
  std::string failure() const;
  std::vector<std::string> calls() const;

 private:
  void record(const std::string& call);

  mutable std::mutex mutex_;
  std::vector<std::string> calls_;
  std::string message_;
  std::string deleteButtonTitle_;
  std::optional<Kind> kind_;
  std::string subject_;
  std::pair<std::string, std::string> find_;
  bool suspicious_ = false;
  std::string failure_;
  Action action_;
};

class FakeInterfaceLoader final : public InterfaceLoader {
 public:
  // Closes what is still open: an open dialog and its controller hold each other.
  ~FakeInterfaceLoader() override;
  std::shared_ptr<ButtonDialog> load(const std::string& name) override;
  // Every dialog of that name, in the order in which they were loaded.
  std::vector<std::shared_ptr<FakeDialog>> loaded(const std::string& name);
  void setBroken(bool broken);

 private:
  std::mutex mutex_;
  bool broken_ = false;
  std::map<std::string, std::vector<std::shared_ptr<FakeDialog>>> loaded_;
};

class FakeMenuItem final : public MenuItem {
 public:
  explicit FakeMenuItem(std::string title) : title_(std::move(title)) {}
  std::string title() const override;
  void setTitle(const std::string& title) override;
  bool isEnabled() const override;
  void setEnabled(bool enabled) override;
  bool isHidden() const override;
  void setHidden(bool hidden) override;
  void setAction(std::function<void()> action) override { action_ = std::move(action); }
  // As a user would: an item that is not enabled or not to be seen does nothing.
  void choose();

 private:
  mutable std::mutex mutex_;
  std::string title_;
  bool enabled_ = true;
  bool hidden_ = false;
  std::function<void()> action_;
};

class FakeMenu final : public Menu {
 public:
  void setAutoenablesItems(bool autoenables) override { autoenables_ = autoenables; }
  void insertItem(std::size_t index, const std::string& title,
                  std::function<void()> action) override;
  void removeItem(MenuItem& item) override { removed.push_back(&item); }
  void removeAllItems() override;
  std::vector<std::string> titles();
  void choose(const std::string& title);
  bool autoenables() const { return autoenables_; }
  std::vector<MenuItem*> removed;

 private:
  std::mutex mutex_;
  std::atomic<bool> autoenables_{true};
  std::vector<std::pair<std::string, std::function<void()>>> items_;
};

class FakeImage final : public Image {
 public:
  explicit FakeImage(std::string imageName) : name(std::move(imageName)) {}
  const std::string name;
};
// The name under which the image was loaded; "" for none.
std::string nameOf(const ImageRef& image);

class FakeImageLoader final : public ImageLoader {
 public:
  ImageRef imageNamed(const std::string& name) override;
  std::vector<std::string> loaded();

 private:
  std::mutex mutex_;
  std::map<std::string, ImageRef> images_;
  std::vector<std::string> loaded_;
};

class FakeStatusItem final : public StatusItem {
 public:
  void setImage(const ImageRef& image) override;
  void setAlternateImage(const ImageRef& image) override;
  void setHighlightMode(bool highlights) override { highlightMode = highlights; }
  void setMenu(Menu& menu) override { shownMenu = &menu; }
  void setEnabled(bool enabled) override { isEnabled = enabled; }
  void setToolTip(const std::string& text) override;
  std::vector<std::string> images();
  std::string image();
  std::string alternateImage();
  std::string toolTip();
  // Every one that was set, in order.
  std::vector<std::string> toolTips();
  double length = 0;
  std::atomic<bool> highlightMode{false};
  std::atomic<bool> isEnabled{false};
  std::atomic<Menu*> shownMenu{nullptr};

 private:
  std::mutex mutex_;
  std::vector<std::string> images_;
  std::string alternate_;
  std::vector<std::string> toolTips_;
};

class FakeDockTile final : public DockTile {
 public:
  void setState(const std::string& words) override;
  void setWatchedFolders(const std::vector<std::string>& folders) override;
  void addVerdict(const DockVerdict& verdict) override;
  std::string state();
  std::vector<std::string> watchedFolders();
  // In the order in which they were added.
  std::vector<DockVerdict> verdicts();

 private:
  std::mutex mutex_;
  std::string state_;
  std::vector<std::string> watchedFolders_;
  std::vector<DockVerdict> verdicts_;
};

class FakeStatusBar final : public StatusBar {
 public:
  StatusItem& statusItemWithLength(double length) override {
    item.length = length;
    return item;
  }
  void observeRoom(RoomObserver observer) override { room = std::move(observer); }
  FakeStatusItem item;
  // As the desktop would tell.
  RoomObserver room;
};

// Performs what is posted to the main thread at once, or when the test says so.
class FakeApplication final : public Application {
 public:
  void performOnMainThread(std::function<void()> action) override;
  void waitKeepingDesktopAlive(const std::function<void()>& wait) override;
  void terminate() override;
  void exit(int status) override;
  std::optional<int> systemVersion() override { return version; }
  int transformToForegroundApplication() override;
  int activateIgnoringOtherApps() override;
  void setReopenHandler(std::function<int()> handler) override { reopen = std::move(handler); }
  void setApplicationIconImage(const ImageRef& image) override;
  void beep() override { ++beeps; }

  // Performs what was posted so far, when it is kept.
  void performPosted();
  // Blocks until something was posted; false after ten real seconds.
  bool waitUntilPosted();
  std::vector<std::string> iconImages();

  std::optional<int> version = 0x1060;
  int transformResult = 0;
  int activateResult = 0;
  // As another start of the program would.
  std::function<int()> reopen;
  bool keepsPosted = false;
  // Called while the agent waits for something that takes long, on the thread that made this.
  std::function<void()> duringWait;
  // The same on any other thread.
  std::function<void()> duringWaitElsewhere;
  // Called when the agent asks for its end.
  std::function<void()> onTerminate;
  std::atomic<int> waits{0};
  std::atomic<int> beeps{0};
  std::atomic<int> terminations{0};
  std::atomic<int> transformations{0};
  std::atomic<int> activations{0};
  std::vector<int> exits;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::function<void()>> posted_;
  std::vector<std::string> iconImages_;
  const std::thread::id mainThread_ = std::this_thread::get_id();
};

// Keeps what each thread would do, and lets the test do it. Threads whose name begins with "clamd"
// carry one command to the daemon and run at once.
class FakeThreads final : public ThreadStarter {
 public:
  void detachNewThread(const std::string& name, std::function<void()> body) override;
  std::vector<std::string> names();
  // Runs the last thread of that name to its end, on the caller's thread.
  void run(const std::string& name);

 private:
  std::mutex mutex_;
  std::vector<std::pair<std::string, std::function<void()>>> threads_;
};

struct FakeMainInterface {
  FakeMenu theMenu;
  FakeMenu theSubMenu;
  FakeMenuItem stateMenuItem{"State"};
  FakeMenuItem mendMenuItem{"Mend"};
  FakeMenuItem startMenuItem{"Start Watching"};
  FakeMenuItem stopMenuItem{"Stop Watching"};
  FakeMenuItem foldersWatchedMenuItem{"Watched Folders"};
  FakeMenuItem restartMenuItem{"Restart Watching"};
  FakeMenuItem abortMenuItem{"Abort Scans"};
  FakeMenuItem abortConfirmMenuItem{"Really Abort"};
  FakeMenuItem quitMenuItem{"Quit Vantrel Quillo"};
  FakeMenuItem updateDefsMenuItem{"Update Definitions"};
  FakeMenuItem openScanLogMenuItem{"Scan Log"};
  FakeMenuItem openQuilloConsoleLogMenuItem{"Console Log"};
  FakeMenuItem openUpdateLogMenuItem{"Update Log"};
  FakeDialog updateWindow;
  FakeDialog noEngineWindow;
  FakeDialog noEngineAloneWindow;
  MainInterface outlets{theMenu,
                        theSubMenu,
                        stateMenuItem,
                        mendMenuItem,
                        startMenuItem,
                        stopMenuItem,
                        foldersWatchedMenuItem,
                        restartMenuItem,
                        abortMenuItem,
                        abortConfirmMenuItem,
                        quitMenuItem,
                        updateDefsMenuItem,
                        openScanLogMenuItem,
                        openQuilloConsoleLogMenuItem,
                        openUpdateLogMenuItem,
                        updateWindow,
                        noEngineWindow,
                        noEngineAloneWindow};
};

}  // namespace quillo
