#pragma once

#include <functional>
#include <string>

namespace quillo {

// Where this desktop mounts volumes.
class Volumes {
 public:
  virtual ~Volumes() = default;
  // Returns true when the path, without a "/" at its end, is the root folder of a volume: a direct
  // child of "/Volumes", or where this desktop has mounted one. Quick; any thread.
  virtual bool isVolumeRoot(const std::string& path) = 0;
};

// Volumes that appear. Main thread.
class MountNotifications {
 public:
  virtual ~MountNotifications() = default;
  // Calls `didMount` on the main thread with the mount point, without a "/" at its end, of every
  // volume mounted from now on. One observation at a time: a second call replaces the first.
  virtual void observe(std::function<void(const std::string& devicePath)> didMount) = 0;
  // Ends it; `didMount` is not called any more.
  virtual void stopObserving() = 0;
};

// Volumes that come and go. Main thread.
class VolumeChanges {
 public:
  virtual ~VolumeChanges() = default;
  // Calls `changed` on the main thread whenever something was mounted or unmounted from now on,
  // which need not be a volume. One observation at a time: a second call replaces the first.
  virtual void observe(std::function<void()> changed) = 0;
  // Ends it; `changed` is not called any more.
  virtual void stopObserving() = 0;
};

}  // namespace quillo
