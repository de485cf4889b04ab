#pragma once

#include <functional>
#include <string>

namespace quillo {

// Volumes that appear. Main thread.
class MountNotifications {
 public:
  virtual ~MountNotifications() = default;
  // Calls `didMount` on the main thread with the mount point, without a "/" at its end, of every
  // volume mounted from now on. One observation at a time: a second call replaces the first.
  virtual void observe(std::function<void(const std::string& devicePath)> didMount) = 0;
  virtual void stopObserving() = 0;
};

}  // namespace quillo
