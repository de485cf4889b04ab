#pragma once

#include <functional>
#include <optional>
#include <string>

namespace quillo {

// What a planned scan came to, for the agent to show: with finds, and without. The object is a
// title and, on the lines below, the report.
inline constexpr const char* plannedScanFound = "VantrelPlannedScanFound";
inline constexpr const char* plannedScanEnded = "VantrelPlannedScanEnded";

// Named notifications between the applications of one user's session.
class DistributedNotificationCenter {
 public:
  virtual ~DistributedNotificationCenter() = default;
  // Calls `action` on the main thread for each notification of that name, from any sender.
  // Main thread.
  virtual void addObserver(const std::string& name, std::function<void()> action) = 0;
  // Does the same, and hands on the notification's object, which is whatever its sender likes.
  virtual void addObjectObserver(const std::string& name,
                                 std::function<void(const std::string& object)> action) = 0;
  // Ends every observation. Main thread.
  virtual void removeObservers() = 0;
  // Sends a notification, which is on its way when this returns. Without a session bus it is lost.
  // Main thread.
  virtual void post(const std::string& name, const std::string& object) = 0;
};

// Values that scripts of the desktop may read from the running agent. Main thread.
class ScriptingKeys {
 public:
  virtual ~ScriptingKeys() = default;
  // Has `valueForKey` called on the main thread whenever a script asks; it returns nothing for an
  // unknown key.
  virtual void publish(
      std::function<std::optional<std::string>(const std::string& key)> valueForKey) = 0;
};

// Sleep and wake of the machine. Main thread.
class PowerNotifications {
 public:
  virtual ~PowerNotifications() = default;
  // Has both called on the main thread. `willSleep` has returned before the machine sleeps, as far
  // as the system grants the time.
  virtual void observe(std::function<void()> willSleep, std::function<void()> didWake) = 0;
};

}  // namespace quillo
