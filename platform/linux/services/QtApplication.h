#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Application.h"
#include "platform/linux/session/DisplayChoice.h"
#include "posix/Mutex.h"
#include "posix/UniqueFd.h"

class QApplication;

namespace quillo {

class ColorScheme;
class QtDockTile;

// Who a process is on the desktop.
struct ApplicationIdentity {
  std::string id = "org.vantrel.VantrelQuillo";  // that of its desktop file
  std::string name = "Vantrel Quillo";           // for people
  // Windows come up that nobody has asked for, and leave the keyboard where it is.
  bool comesUnasked = true;
};

// The process as a Qt application. It is made first and destroyed last of the backend's services:
// what was posted and has not run by then is dropped.
class QtApplication final : public Application {
 public:
  // Picks the display (X11 or Wayland, else Qt's offscreen platform) and makes Qt's application
  // object. Main thread, once in a process; argv must outlive it.
  QtApplication(int& argc, char** argv, ApplicationIdentity identity = {});
  ~QtApplication() override;

  // Returns why neither icon nor windows can be shown; nothing where they can, or where the
  // environment asks for a platform without a display. Main thread.
  std::optional<DisplayProblem> problemWithDisplay() const;
  // Runs the event loop. Returns its exit status when the session has ended it. Main thread.
  int run();
  // Sets what terminate() and the end of the session run, once. Before run(). Main thread.
  void setTerminationHandler(std::function<void()> handler);
  // Sets what exit() does first, on whatever thread calls that. Before any other thread runs.
  void setExitHandler(std::function<void()> handler) { exitHandler_ = std::move(handler); }
  // Sets the window that stands for a Dock tile, which must live until run() has returned. Before
  // any other thread runs.
  void setDockTile(QtDockTile& tile) { dockTile_ = &tile; }

  void performOnMainThread(std::function<void()> action) override;
  void waitKeepingDesktopAlive(const std::function<void()>& wait) override;
  void terminate() override;
  [[noreturn]] void exit(int status) override;
  std::optional<int> systemVersion() override;
  // Returns ENOTSUP when there is no display that could show it, ENOENT when its window cannot be
  // loaded.
  int transformToForegroundApplication() override;
  int activateIgnoringOtherApps() override;
  void setReopenHandler(std::function<int()> handler) override;
  // Does what another start of the program asks for. Returns 0 also when that has to wait for its
  // handler. Main thread.
  int reopen();
  void setApplicationIconImage(const ImageRef& image) override;
  void beep() override;

 private:
  void runTerminationHandler();
  int showDockTile(bool untilClosed);
  void showApplicationIcon();

  const ApplicationIdentity identity_;
  const DisplayFacts display_;
  // Qt's view of the command line, which it keeps and shortens.
  std::string platformOption_ = "-platform";
  std::string plugins_;
  std::string nameOption_ = "-name";
  std::string id_;
  std::vector<char*> arguments_;
  int argumentCount_ = 0;
  // Constant after construction.
  std::unique_ptr<QApplication> application_;
  std::unique_ptr<QObject> mainThread_;
  std::unique_ptr<ColorScheme> colorScheme_;
  std::function<void()> exitHandler_;
  // Main thread only.
  std::function<void()> terminationHandler_;
  std::function<int()> reopenHandler_;
  bool reopenWaits_ = false;
  // Set before any other thread runs.
  QtDockTile* dockTile_ = nullptr;

  Mutex mutex_;
  ImageRef iconImage_ QUILLO_GUARDED_BY(mutex_);
  bool iconIsPosted_ QUILLO_GUARDED_BY(mutex_) = false;
};

// Makes of SIGTERM, SIGINT and SIGHUP a call on the main thread (signalfd(2)), and of a closed pipe
// an error instead of a signal. Must be made before any thread is started, so that all of them
// leave these signals alone.
class TerminationSignals {
 public:
  TerminationSignals();
  // From now on each signal calls `action`. Main thread, with an application object made.
  void observe(std::function<void()> action);

 private:
  UniqueFd descriptor_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace quillo
