#pragma once

#include <functional>
#include <string>

namespace quillo {

// Named notifications between the applications of one user's session.
class DistributedNotificationCenter {
 public:
  virtual ~DistributedNotificationCenter() = default;
  // Calls `action` on the main thread for each notification of that name, from any sender.
  // Main thread.
  virtual void addObserver(const std::string& name, std::function<void()> action) = 0;
  // Ends every observation. Main thread.
  virtual void removeObservers() = 0;
  // Sends a notification, which is on its way when this returns. Without a session bus it is lost.
  // Main thread.
  virtual void post(const std::string& name, const std::string& object) = 0;
};

}  // namespace quillo
