#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/Notifier.h"
#include "posix/Snapshot.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "watchers/WatcherOwner.h"

namespace quillo {

// Owner, queue and notifier in one: keeps what a watcher hands on and notes down what it asks for.
// Any thread.
class FakeWatcherOwner final : public WatcherOwner, public PathIntake, public Notifier {
 public:
  std::shared_ptr<const WatchedFolderList> getWatchedFolderList() override { return list_.load(); }
  std::shared_ptr<const SubdirectoryFlags> getCheckSubDirs() override { return flags_.load(); }
  void stopWatcherFromWatcher() override {
    note("stopWatcher");
    if (onStop) {
      onStop();
    }
  }
  void startWatcherFromWatcher() override {
    note("startWatcher");
    if (onStart) {
      onStart();
    }
  }
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t code, const std::string& description,
                                                 const NotificationDetails& details) override {
    const std::string topic = details.topic.empty() ? "" : details.topic + " ";
    note(topic + (code == notificationError ? "error: " : "notification: ") + description);
    return true;
  }
  void withdraw(const std::string& topic) override { note("withdraw " + topic); }

  void setHelperFails(bool fails) override {
    std::lock_guard hold(mutex_);
    helperFails_ = fails;
    changed_.notify_all();
  }
  void setPlacesWithGaps(std::size_t count) override {
    note("places with gaps: " + std::to_string(count));
  }
  bool helperFails() {
    std::lock_guard hold(mutex_);
    return helperFails_;
  }

  void addToItemList(std::vector<std::string>& paths) override {
    if (refusal) {
      std::rethrow_exception(std::exchange(refusal, nullptr));
    }
    std::lock_guard hold(mutex_);
    paths_.insert(paths_.end(), paths.begin(), paths.end());
    paths.clear();
    changed_.notify_all();
  }
  void addStringToItemList(const std::string& path) override {
    if (onPath) {
      onPath();
    }
    std::lock_guard hold(mutex_);
    paths_.push_back(path);
    changed_.notify_all();
  }

  // `folder` as the watch list holds it: a folder with a "/" at its end.
  void watch(const std::string& folder, bool withSubdirs) {
    auto list = *list_.load();
    auto flags = *flags_.load();
    list.push_back(folder);
    flags[folder] = withSubdirs;
    flags_.store(flags);
    list_.store(list);
  }
  void watchWithoutFlag(const std::string& folder) {
    auto list = *list_.load();
    list.push_back(folder);
    list_.store(list);
  }
  void watchNothing() { list_.store({}); }

  std::vector<std::string> paths() {
    std::lock_guard hold(mutex_);
    return paths_;
  }
  // Blocks until that many paths were handed over; false after ten real seconds without.
  bool waitForPaths(std::size_t count) {
    std::unique_lock hold(mutex_);
    return changed_.wait_for(hold, std::chrono::seconds(10),
                             [&] { return paths_.size() >= count; });
  }
  std::vector<std::string> calls() {
    std::lock_guard hold(mutex_);
    return calls_;
  }

  // Whoever hands a list over gets this instead, once.
  std::exception_ptr refusal;
  std::function<void()> onPath;
  std::function<void()> onStop;
  std::function<void()> onStart;

 private:
  void note(const std::string& call) {
    std::lock_guard hold(mutex_);
    calls_.push_back(call);
  }

  Snapshot<WatchedFolderList> list_;
  Snapshot<SubdirectoryFlags> flags_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> paths_;
  std::vector<std::string> calls_;
  bool helperFails_ = false;
};

inline WatcherServices watcherServicesOf(FakePlatform& desktop, Clock& clock,
                                         FakeWatcherOwner& owner) {
  return {desktop.application,      desktop.authorization, clock, desktop.folders,
          desktop.localizedStrings, desktop.nameWatch,     owner, desktop.preferences,
          desktop.systemLog,        desktop.trashFolders,  owner};
}

}  // namespace quillo
