#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/Notifier.h"
#include "posix/Snapshot.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/Record.h"
#include "tests/support/Threads.h"
#include "watchers/WatcherOwner.h"

namespace quillo {

// Owner, queue and notifier in one: keeps what a watcher hands on and notes down what it asks for.
// Any thread.
class FakeWatcherOwner final : public WatcherOwner, public PathIntake, public Notifier {
 public:
  std::shared_ptr<const WatchedFolderList> getWatchedFolderList() override { return list_.load(); }
  std::shared_ptr<const SubdirectoryFlags> getCheckSubDirs() override { return flags_.load(); }
  void stopWatcherFromWatcher() override {
    calls.add("stopWatcher");
    if (onStop) {
      onStop();
    }
  }
  void startWatcherFromWatcher() override {
    calls.add("startWatcher");
    if (onStart) {
      onStart();
    }
  }
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t code, const std::string& description,
                                                 const NotificationDetails& details) override {
    const std::string topic = details.topic.empty() ? "" : details.topic + " ";
    for (const NotificationButton& button : details.buttons) {
      buttons.add(button);
    }
    calls.add(topic + (code == notificationError ? "error: " : "notification: ") + description);
    return true;
  }
  void withdraw(const std::string& topic) override { calls.add("withdraw " + topic); }

  void setHelperFails(bool fails) override { helperFails = fails; }
  void showWhatMends() override { calls.add("show what mends"); }
  void showFolders() override { calls.add("show folders"); }
  void setPlacesWithGaps(std::size_t count) override {
    calls.add("places with gaps: " + std::to_string(count));
  }
  void addToItemList(std::vector<std::string>& given) override {
    if (refusal) {
      std::rethrow_exception(std::exchange(refusal, nullptr));
    }
    paths.addAll(given);
    given.clear();
    if (onList) {
      onList();
    }
  }
  void addStringToItemList(const std::string& path) override {
    if (onPath) {
      onPath();
    }
    paths.add(path);
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

  Record<std::string> paths;
  Record<std::string> calls;
  Record<NotificationButton> buttons;  // of all notifications
  std::atomic<bool> helperFails{false};
  // Whoever hands a list over gets this instead, once.
  std::exception_ptr refusal;
  std::function<void()> onPath;
  std::function<void()> onList;
  std::function<void()> onStop;
  std::function<void()> onStart;
  // Those that a watcher starts.
  JoinedThreads threads;

 private:
  Snapshot<WatchedFolderList> list_;
  Snapshot<SubdirectoryFlags> flags_;
};

inline WatcherServices watcherServicesOf(FakePlatform& desktop, Clock& clock,
                                         FakeWatcherOwner& owner) {
  return {desktop.application,
          desktop.authorization,
          desktop.backgroundWork,
          clock,
          desktop.folders,
          desktop.localizedStrings,
          desktop.nameWatch,
          owner,
          desktop.preferences,
          desktop.systemLog,
          owner.threads,
          desktop.trashFolders,
          owner};
}

}  // namespace quillo
