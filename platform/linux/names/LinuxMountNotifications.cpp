#include "platform/linux/names/LinuxMountNotifications.h"

#include <algorithm>

#include "platform/linux/names/LinuxVolumes.h"
#include "platform/linux/services/Guarded.h"

namespace quillo {

std::vector<Mount> NewVolumes::update(std::vector<Mount> mounts) {
  std::vector<Mount> fresh;
  for (const Mount& mount : volumesAmong(mounts)) {
    if (std::find(known_.begin(), known_.end(), mount) == known_.end()) {
      fresh.push_back(mount);
    }
  }
  known_ = std::move(mounts);
  return fresh;
}

void LinuxMountNotifications::observe(std::function<void(const std::string& devicePath)> didMount) {
  stopObserving();
  didMount_ = std::move(didMount);
  table_ = std::make_unique<MountTable>();
  newVolumes_.reset(table_->read().value_or(std::vector<Mount>()));
  if (table_->descriptor() < 0) {
    return;
  }
  notifier_ = std::make_unique<QSocketNotifier>(table_->descriptor(), QSocketNotifier::Exception);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { tableChanged(); });
}

void LinuxMountNotifications::stopObserving() {
  if (notifier_) {
    // It may be what is calling just now.
    notifier_->setEnabled(false);
    notifier_.release()->deleteLater();
  }
  didMount_ = nullptr;
}

void LinuxMountNotifications::tableChanged() {
  std::optional<std::vector<Mount>> mounts = table_->read();
  if (!mounts) {
    return;
  }
  for (const Mount& mount : newVolumes_.update(std::move(*mounts))) {
    // A listener may end the observation, or begin another.
    if (const auto didMount = didMount_) {
      guarded([&] { didMount(mount.point); });
    }
  }
}

}  // namespace quillo
