#pragma once

#include <gio/gio.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "posix/ChildProcess.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/support/Threads.h"

namespace quillo::tests {

// As much of a desktop as the agent needs to show itself: an X server without a monitor, and on a
// session bus that any user may use a notification server (Desktop Notifications 1.2) and a place
// for status items (StatusNotifierItem). The test is the user: it reads what is notified and
// chooses from the menu. Any thread.
class SmallDesktop {
 public:
  SmallDesktop();
  ~SmallDesktop();
  SmallDesktop(const SmallDesktop&) = delete;
  SmallDesktop& operator=(const SmallDesktop&) = delete;

  // What a program of this desktop is to be started with.
  std::vector<std::string> environment() const { return environment_; }

  // Waits until so many notifications hold that text; false at the deadline.
  bool awaitNotification(const std::string& text, int times = 1);
  int notificationsWith(const std::string& text) const;
  std::string allNotifications() const;
  // Chooses from the status item's menu as soon as the entry is there and enabled; false when that
  // does not happen.
  bool choose(const std::string& entry);
  // As by a crash of the desktop's. Nothing is notified or chosen without a bus.
  void endBus();
  // After endBus(): another one at the same address.
  void startBusAgain();
  void endScreen();

 private:
  static void handleCall(GDBusConnection*, const gchar* sender, const gchar*, const gchar*,
                         const gchar* method, GVariant* arguments, GDBusMethodInvocation* call,
                         gpointer self);
  static GVariant* property(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                            const gchar* name, GError**, gpointer);
  void startBus();
  void serve(const std::string& address);
  void stopServing();
  void offer(const char* name, const char* path, const char* description);
  void note(GVariant* notification);
  int countLocked(const std::string& text) const;
  std::string statusItem() const;
  // -1 while the entry is not there or disabled.
  int numberOf(const std::string& entry, const std::string& item) const;

  NamedUser user_;
  std::vector<std::string> environment_;
  std::unique_ptr<ChildProcess> screen_;
  std::unique_ptr<ChildProcess> bus_;
  GMainContext* context_;
  GDBusConnection* connection_ = nullptr;
  mutable std::mutex lock_;
  std::condition_variable changed_;
  std::vector<std::string> notifications_;
  std::string statusItem_;
  std::atomic<bool> ended_ = false;
  JoinedThreads server_;
};

}  // namespace quillo::tests
