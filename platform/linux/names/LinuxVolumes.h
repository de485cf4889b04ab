#pragma once

#include <QSocketNotifier>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Volumes.h"
#include "posix/MountTable.h"
#include "posix/Mutex.h"

namespace quillo {

// Returns the mounts that a user would call a volume: a disk, a stick, a disc, a network share.
// Pseudo file systems, images of packaged programs, bind mounts, portals and the system's own
// places are none.
std::vector<Mount> volumesAmong(const std::vector<Mount>& mounts);

// The mount points of the kernel's table, or of some of it, read anew when that has changed. Any
// thread.
class MountPoints {
 public:
  using Choice = std::vector<Mount> (*)(const std::vector<Mount>& mounts);

  // `choice` picks the mounts that count; all of them do without it.
  explicit MountPoints(Choice choice = nullptr) : choice_(choice) {}
  // Returns true when one of them is that path, without a "/" at its end. While the kernel's table
  // cannot be read, those of the last reading count.
  bool contain(const std::string& path);

 private:
  const Choice choice_;
  Mutex mutex_;
  const MountTable table_ QUILLO_GUARDED_BY(mutex_);
  // As of the table's last change.
  std::set<std::string> points_ QUILLO_GUARDED_BY(mutex_);
  bool mustRead_ QUILLO_GUARDED_BY(mutex_) = true;
};

// What lies in "/Volumes" or where udisks(8) mounts what this user plugs in (/media/USER or
// /run/media/USER), and every other volume in the kernel's mount table.
class LinuxVolumes final : public Volumes {
 public:
  explicit LinuxVolumes(const std::string& userName);

  bool isVolumeRoot(const std::string& path) override;

 private:
  std::vector<std::string> folders_ = {"/Volumes"};
  MountPoints volumes_{volumesAmong};
};

// Finds which volumes of a mount table are there for the first time. Not for sharing between
// threads.
class NewVolumes {
 public:
  // Forgets all but the mounts of this table.
  void reset(std::vector<Mount> mounts) { known_ = std::move(mounts); }
  // Returns the volumes whose mount was not there the time before. One that went away is new when
  // it comes again.
  std::vector<Mount> update(std::vector<Mount> mounts);

 private:
  std::vector<Mount> known_;
};

// Every change of the kernel's mount table.
class LinuxVolumeChanges final : public VolumeChanges {
 public:
  void observe(std::function<void()> changed) override;
  void stopObserving() override;

 private:
  std::function<void()> changed_;
  std::unique_ptr<MountTable> table_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

// Volumes that appear in the kernel's mount table, each reported once.
class LinuxMountNotifications final : public MountNotifications {
 public:
  void observe(std::function<void(const std::string& devicePath)> didMount) override;
  void stopObserving() override;

 private:
  void tableChanged();

  std::function<void(const std::string& devicePath)> didMount_;
  NewVolumes newVolumes_;
  LinuxVolumeChanges changes_;
};

}  // namespace quillo
