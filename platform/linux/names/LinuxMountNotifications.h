#pragma once

#include <QSocketNotifier>
#include <memory>

#include "platform/MountNotifications.h"
#include "posix/MountTable.h"

namespace quillo {

// Finds which volumes of a mount table are there for the first time. Not for sharing between
// threads.
class NewVolumes {
 public:
  // Forgets all but the mounts of this table.
  void reset(std::vector<Mount> mounts) { known_ = std::move(mounts); }
  // The volumes whose mount was not there the time before. One that went away is new when it comes
  // again.
  std::vector<Mount> update(std::vector<Mount> mounts);

 private:
  std::vector<Mount> known_;
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
  std::unique_ptr<MountTable> table_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace quillo
