#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/Image.h"

namespace quillo {

// The process as the desktop sees it.
class Application {
 public:
  virtual ~Application() = default;
  // Has `action` run on the main thread and returns at once. Any thread.
  virtual void performOnMainThread(std::function<void()> action) = 0;
  // Does `wait`, which may take long, on a thread of its own and returns when it is done. On the
  // main thread the desktop stays alive meanwhile: windows are drawn, and what is posted is
  // performed. From any other thread it simply waits.
  virtual void waitKeepingDesktopAlive(const std::function<void()>& wait) = 0;
  // Asks the application to end in an orderly way: its delegate's applicationWillTerminate() runs
  // on the main thread. Returns at once. Any thread.
  virtual void terminate() = 0;
  // Ends the process with that status at once; no other thread is waited for. Does not return, but
  // in tests. Any thread.
  virtual void exit(int status) = 0;
  // The version of the desktop as a BCD number, 0x1040 or more where notifications are to be had.
  virtual std::optional<int> systemVersion() = 0;
  // Gives the process an entry in the task bar, next to the status item. 0, or the error's number.
  // Main thread.
  virtual int transformToForegroundApplication() = 0;
  // Brings the window of that entry to the front. Without an entry, the process has one until the
  // user closes that window. 0, or the error's number. Main thread.
  virtual int activateIgnoringOtherApps() = 0;
  // What another start of the program asks of this one instead of running; 0, or the error's number.
  // Who asked before there was a handler is answered by it. Main thread.
  virtual void setReopenHandler(std::function<int()> handler) = 0;
  // The image of that entry. Any thread; shown soon.
  virtual void setApplicationIconImage(const ImageRef& image) = 0;
  // Any thread.
  virtual void beep() = 0;
};

}  // namespace quillo
