#pragma once

#include <atomic>
#include <functional>
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
#include "tests/support/Record.h"

// What a user would see, kept for tests to look at.
namespace quillo {

class FakeDialog final : public ButtonDialog {
 public:
  void orderFrontRegardless() override { calls.add("orderFrontRegardless"); }
  void makeFloatingKeyAndOrderFront() override { calls.add("makeFloatingKeyAndOrderFront"); }
  void orderOut() override { calls.add("orderOut"); }
  void close() override {
    calls.add("close");
    action_.take();
  }
  void setMessage(const std::string& message) override { message_.set(message); }
  std::string message() const override { return message_(); }
  void setDeleteButtonTitle(const std::string& title) override { deleteButtonTitle.set(title); }
  void setAction(Action action) override { action_.set(std::move(action)); }
  void setKind(Kind given) override { kind.set(given); }
  void setSubject(const std::string& text) override { subject.set(text); }
  void setFind(const std::string& path, const std::string& threat) override {
    find.set({path, threat});
  }
  void setSuspicious(bool suspicious) override { isSuspicious.set(suspicious); }
  void showFailure(const std::string& text) override {
    calls.add("showFailure");
    failure.set(text);
  }

  // As a user would. Does nothing after close().
  void press(Button button) {
    if (const Action action = action_()) {
      action(button);
    }
  }
  bool isClosed() const { return calls.has("close"); }
  bool cameToFront() const { return calls.has("orderFrontRegardless"); }

  Record<std::string> calls;
  Guarded<std::string> deleteButtonTitle;
  // Empty before the kind was given.
  Guarded<std::optional<Kind>> kind;
  Guarded<std::string> subject;
  // Path and threat; empty when it was given none.
  Guarded<std::pair<std::string, std::string>> find;
  Guarded<bool> isSuspicious;
  Guarded<std::string> failure;

 private:
  Guarded<std::string> message_;
  Guarded<Action> action_;
};

class FakeInterfaceLoader final : public InterfaceLoader {
 public:
  // Closes what is still open: an open dialog and its controller hold each other.
  ~FakeInterfaceLoader() override;
  std::shared_ptr<ButtonDialog> load(const std::string& name) override;
  // Every dialog of that name, in the order in which they were loaded.
  std::vector<std::shared_ptr<FakeDialog>> loaded(const std::string& name);
  void setBroken(bool broken) { broken_ = broken; }

 private:
  std::mutex mutex_;
  std::atomic<bool> broken_{false};
  std::map<std::string, std::vector<std::shared_ptr<FakeDialog>>> loaded_;
};

class FakeMenuItem final : public MenuItem {
 public:
  explicit FakeMenuItem(const std::string& title) : title_(title) {}
  std::string title() const override { return title_(); }
  void setTitle(const std::string& title) override { title_.set(title); }
  bool isEnabled() const override { return enabled_; }
  void setEnabled(bool enabled) override { enabled_ = enabled; }
  bool isHidden() const override { return hidden_; }
  void setHidden(bool hidden) override { hidden_ = hidden; }
  void setAction(std::function<void()> action) override { action_ = std::move(action); }
  // As a user would: an item that is not enabled or not to be seen does nothing.
  void choose() {
    if (isEnabled() && !isHidden() && action_) {
      action_();
    }
  }

 private:
  Guarded<std::string> title_;
  std::atomic<bool> enabled_{true};
  std::atomic<bool> hidden_{false};
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
// Returns the name under which the image was loaded; "" for none.
std::string nameOf(const ImageRef& image);

class FakeImageLoader final : public ImageLoader {
 public:
  ImageRef imageNamed(const std::string& name) override;
  Record<std::string> loaded;

 private:
  std::mutex mutex_;
  std::map<std::string, ImageRef> images_;
};

class FakeStatusItem final : public StatusItem {
 public:
  void setImage(const ImageRef& image) override { images.add(nameOf(image)); }
  void setAlternateImage(const ImageRef& image) override { alternateImage.set(nameOf(image)); }
  void setHighlightMode(bool highlights) override { highlightMode = highlights; }
  void setMenu(Menu& menu) override { shownMenu = &menu; }
  void setEnabled(bool enabled) override { isEnabled = enabled; }
  void setToolTip(const std::string& text) override { toolTips.add(text); }
  std::string image() const { return images.last(); }
  std::string toolTip() const { return toolTips.last(); }
  Record<std::string> images;
  Guarded<std::string> alternateImage;
  Record<std::string> toolTips;
  double length = 0;
  std::atomic<bool> highlightMode{false};
  std::atomic<bool> isEnabled{false};
  std::atomic<Menu*> shownMenu{nullptr};
};

class FakeDockTile final : public DockTile {
 public:
  void setState(const std::string& words) override { state.set(words); }
  void setWatchedFolders(const std::vector<std::string>& folders) override {
    watchedFolders.set(folders);
  }
  void addVerdict(const DockVerdict& verdict) override { verdicts.add(verdict); }
  Guarded<std::string> state;
  Guarded<std::vector<std::string>> watchedFolders;
  Record<DockVerdict> verdicts;
};

class FakeStatusBar final : public StatusBar {
 public:
  StatusItem& statusItemWithLength(double length) override {
    item.length = length;
    return item;
  }
  void observeRoom(RoomObserver observer) override { room = std::move(observer); }
  FakeStatusItem item;
  // As the desktop would report.
  RoomObserver room;
};

// Performs what is posted to the main thread at once, or when the test says so.
class FakeApplication final : public Application {
 public:
  void performOnMainThread(std::function<void()> action) override;
  void waitKeepingDesktopAlive(const std::function<void()>& wait) override;
  void terminate() override;
  void exit(int status) override { exits.push_back(status); }
  std::optional<int> systemVersion() override { return version; }
  int transformToForegroundApplication() override;
  int activateIgnoringOtherApps() override;
  void setReopenHandler(std::function<int()> handler) override { reopen = std::move(handler); }
  void setApplicationIconImage(const ImageRef& image) override { iconImages.add(nameOf(image)); }
  void beep() override { ++beeps; }

  // Performs what was posted so far, when it is kept.
  void performPosted();
  // Blocks until something was posted; returns false when nothing is in time.
  bool waitUntilPosted() { return posted_.waitForCount(1); }
  Record<std::string> iconImages;

  std::optional<int> version = 0x1060;
  int transformResult = 0;
  int activateResult = 0;
  // As another start of the program would.
  std::function<int()> reopen;
  std::atomic<bool> keepsPosted{false};
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
  Record<std::function<void()>> posted_;
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
  Record<std::pair<std::string, std::function<void()>>> threads_;
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
