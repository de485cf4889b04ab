#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Image.h"

namespace quillo {

// The process as the desktop sees it.
class Application {
 public:
  virtual ~Application() = default;
  // Posts `action` to the main thread and returns at once. Any thread.
  virtual void performOnMainThread(std::function<void()> action) = 0;
  // Runs `wait`, which may take long, on a thread of its own and returns when it has ended. On the
  // main thread the desktop stays alive meanwhile: windows are drawn, and what is posted is
  // performed. On any other thread it only waits.
  virtual void waitKeepingDesktopAlive(const std::function<void()>& wait) = 0;
  // Requests an orderly end and returns at once: the delegate's applicationWillTerminate() runs on
  // the main thread. Any thread.
  virtual void terminate() = 0;
  // Ends the process with that status at once and waits for no other thread. Returns in tests only.
  // Any thread.
  virtual void exit(int status) = 0;
  // Returns the version of the desktop as a BCD number, 0x1040 or more where it has notifications;
  // nothing when it is unknown.
  virtual std::optional<int> systemVersion() = 0;
  // Puts an entry for the process in the task bar, beside the status item. Returns 0 or an
  // error number. Main thread.
  virtual int transformToForegroundApplication() = 0;
  // Brings the window of that entry to the front. A process without an entry has one until the user
  // closes the window. Returns 0 or an error number. Main thread.
  virtual int activateIgnoringOtherApps() = 0;
  // Sets what another start of the program calls in this one instead of running; the handler
  // returns 0 or an error number. It also handles calls that came before it. Main thread.
  virtual void setReopenHandler(std::function<int()> handler) = 0;
  // Sets the image of that entry, which is shown soon. Any thread.
  virtual void setApplicationIconImage(const ImageRef& image) = 0;
  // Any thread.
  virtual void beep() = 0;
};

// A line of the list of verdicts, in plain texts.
struct DockVerdict {
  std::string time;
  std::string file;
  std::string verdict;
  bool isThreat = false;

  bool operator==(const DockVerdict&) const = default;
};

// The window behind the entry in the task bar. Any thread; changes are shown soon, or once the
// application has been brought to the foreground.
class DockTile {
 public:
  static constexpr std::size_t keptVerdicts = 10;

  virtual ~DockTile() = default;
  // Shows what the agent is doing, in words.
  virtual void setState(const std::string& words) = 0;
  virtual void setWatchedFolders(const std::vector<std::string>& folders) = 0;
  // Lists a verdict above the earlier ones; the last `keptVerdicts` stay.
  virtual void addVerdict(const DockVerdict& verdict) = 0;
};

}  // namespace quillo
