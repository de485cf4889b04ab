#pragma once

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <functional>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/AgentLink.h"
#include "platform/Authorization.h"
#include "platform/BackgroundWork.h"
#include "platform/Folders.h"
#include "platform/GrowlApplicationBridge.h"
#include "platform/LocalizedStrings.h"
#include "platform/ModifierKeys.h"
#include "platform/NameWatch.h"
#include "platform/PreferenceStore.h"
#include "platform/Session.h"
#include "platform/SystemLog.h"
#include "platform/Volumes.h"
#include "platform/Workspace.h"
#include "posix/Text.h"
#include "tests/support/Record.h"

// Desktop services without a desktop. Each records what was asked of it; those that several threads
// reach are locked.
namespace quillo {

class FakeSystemLog final : public SystemLog {
 public:
  void log(std::string_view message) override {
    message.remove_suffix(message.ends_with('\n') ? 1 : 0);
    lines.add(std::string(message));
  }
  bool has(const std::string& line) const { return lines.has(line); }
  int count(const std::string& line) const { return lines.count(line); }
  // Blocks until that line has come so often; returns false when it does not in time.
  bool waitFor(const std::string& line, int times = 1) {
    return lines.waitUntil(
        [&](const auto& all) { return std::count(all.begin(), all.end(), line) >= times; });
  }
  void clear() { lines.clear(); }
  Record<std::string> lines;
};

class FakePreferenceStore final : public PreferenceStore {
 public:
  void addSuiteNamed(const std::string& domain) override;
  void synchronize() override { ++synchronizations_; }
  std::optional<PreferenceValue> objectForKey(const std::string& key) override;
  bool hasAny() override;
  std::string fileThatHas(const std::string& key) override;
  std::string fileOf(const std::string& domain) const override {
    return folder + "/" + domain + ".toml";
  }

  std::string folder = "/home/anna/.config/vantrel";
  void set(const std::string& key, PreferenceValue value);
  void set(const std::string& key, const char* value) { set(key, PreferenceValue{value}); }
  void set(const std::string& key, std::string value) { set(key, PreferenceValue{value}); }
  void set(const std::string& key, bool value) { set(key, PreferenceValue{value}); }
  void set(const std::string& key, int value) { set(key, PreferenceValue{std::int64_t{value}}); }
  // A key of the main application's domain: found only once that has been added.
  void setOfMainApplication(const std::string& key, PreferenceValue value);
  void remove(const std::string& key);
  std::vector<std::string> suites();
  int synchronizations() const { return synchronizations_; }

 private:
  std::mutex mutex_;
  std::map<std::string, PreferenceValue> own_;
  std::map<std::string, PreferenceValue> ofMainApplication_;
  std::vector<std::string> suites_;
  std::atomic<int> synchronizations_{0};
};

// One entry of "QuilloFolderArray".
PreferenceValue watchedFolder(const std::string& path, bool withSubdirs);
// One entry of "ExcludePatterns".
PreferenceValue excludePattern(const std::string& pattern, bool enabled, bool isRegEx);

// Returns each key in angle brackets, unless it was given a text for it.
class FakeLocalizedStrings final : public LocalizedStrings {
 public:
  std::string stringForKey(const std::string& key, const std::string& fallback) override;
  std::map<std::string, std::string> texts;
};

class FakeGrowl final : public GrowlApplicationBridge {
 public:
  void setGrowlDelegate(const GrowlRegistration& given) override { registration = given; }
  bool isGrowlRunning() override { return running_; }
  void notify(const GrowlNotification& notification) override { posted.add(notification); }
  void withdraw(const std::string& topic) override { withdrawn.add(topic); }
  void handOver() override {
    if (atHandOver) {
      atHandOver();
    }
  }

  void setRunning(bool running) { running_ = running; }
  Record<GrowlNotification> posted;
  // The topics, in the order in which they were withdrawn.
  Record<std::string> withdrawn;
  std::optional<GrowlRegistration> registration;
  std::function<void()> atHandOver;

 private:
  std::atomic<bool> running_{true};
};

class FakeDistributedNotificationCenter final : public DistributedNotificationCenter {
 public:
  void addObserver(const std::string& name, std::function<void()> action) override {
    observers[name] = std::move(action);
  }
  void addObjectObserver(const std::string& name,
                         std::function<void(const std::string& object)> action) override {
    objectObservers[name] = std::move(action);
  }
  void removeObservers() override {
    if (failsToRemove) {
      throw std::runtime_error("the bus is gone");
    }
    observers.clear();
    objectObservers.clear();
  }
  void post(const std::string& name, const std::string& object) override {
    posted.emplace_back(name, object);
    if (onPost) {
      onPost();
    }
  }
  bool failsToRemove = false;
  // As another application would.
  void deliver(const std::string& name, const std::string& object = "");

  std::map<std::string, std::function<void()>> observers;
  std::map<std::string, std::function<void(const std::string& object)>> objectObservers;
  std::vector<std::pair<std::string, std::string>> posted;
  std::function<void()> onPost;
};

class FakePowerNotifications final : public PowerNotifications {
 public:
  void observe(std::function<void()> sleep, std::function<void()> wake) override {
    willSleep = std::move(sleep);
    didWake = std::move(wake);
  }
  std::function<void()> willSleep;
  std::function<void()> didWake;
};

class FakeMountNotifications final : public MountNotifications {
 public:
  void observe(std::function<void(const std::string&)> didMount) override {
    observer = std::move(didMount);
  }
  void stopObserving() override { observer = nullptr; }
  std::function<void(const std::string&)> observer;
};

class FakeVolumeChanges final : public VolumeChanges {
 public:
  void observe(std::function<void()> changed) override { observer = std::move(changed); }
  void stopObserving() override { observer = nullptr; }
  std::function<void()> observer;
};

// Reports what a test makes appear, on the test's thread.
class FakeNameWatch final : public NameWatch {
 public:
  void start(const std::vector<NamedPlace>& wanted, NameWatchObserver& watcher) override {
    places = wanted;
    observer = &watcher;
    ++starts;
  }
  void stop() override { places.clear(); }
  std::vector<NamedPlace> places;
  NameWatchObserver* observer = nullptr;
  int starts = 0;
};

class FakeFileDepartures final : public FileDepartures {
 public:
  void watch(const std::string& path, std::function<bool()> hasLeft) override {
    watched_.add({path, std::move(hasLeft)});
  }
  // As when the system reports a change: asks for every file that is looked after.
  void ask();
  std::vector<std::string> watched();

 private:
  Record<std::pair<std::string, std::function<bool()>>> watched_;
};

class FakeFolders final : public Folders {
 public:
  std::string homeFolder() const override {
    // As the real one may: looking an account up opens files.
    errno = ENOENT;
    return home;
  }
  std::optional<std::string> temporaryFolder() const override { return temporary; }
  std::string dataFolder() const override { return home + "/.local/share"; }
  std::string stateFolder() const override { return home + "/.local/state/vantrel"; }
  std::string downloadsFolder() const override { return home + "/Downloads"; }
  std::string resourceFolder() const override { return resources; }
  std::string home = "/home/anna";
  std::optional<std::string> temporary;
  std::string resources;
};

// Knows the direct children of some folders.
class FakeVolumes final : public Volumes {
 public:
  bool isVolumeRoot(const std::string& path) override {
    const std::string parent = deletingLastPathComponent(path);
    return std::find(folders.begin(), folders.end(), parent) != folders.end();
  }
  std::vector<std::string> folders = {"/Volumes"};
};

class FakeTrashFolders final : public TrashFolders {
 public:
  bool isEnclosedByTrash(const std::string& path) override {
    return path.find("/.Trash/") != std::string::npos;
  }
};

class FakeAuthorization final : public Authorization {
 public:
  bool executeWithPrivileges(const std::string& program, const std::vector<std::string>& arguments,
                             std::string& reason) override;
  bool granted = false;
  std::string reasonOfRefusal;
  // Called while the user is asked.
  std::function<void()> duringRequest;
  std::vector<std::vector<std::string>> requests;
};

class FakeBackgroundWork final : public BackgroundWork {
 public:
  std::string giveWay() override {
    ++gaveWay;
    return refusal;
  }
  std::atomic<int> gaveWay{0};
  std::string refusal;
};

class FakeWorkspace final : public Workspace {
 public:
  bool openFile(const std::string& path) override {
    opened.push_back(path);
    return answer;
  }
  bool selectFile(const std::string& path) override {
    selected.push_back(path);
    return answer;
  }
  std::string recycle(const std::string& sourceFolder,
                      const std::vector<std::string>& names) override {
    recycled.emplace_back(sourceFolder, names);
    return answer ? "" : "no such file";
  }
  bool answer = true;
  std::vector<std::string> opened;
  std::vector<std::string> selected;
  std::vector<std::pair<std::string, std::vector<std::string>>> recycled;
};

class FakeApplicationLauncher final : public ApplicationLauncher {
 public:
  bool isInstalled(const std::string&) override { return installed; }
  bool launchApplication(const std::string& identifier) override {
    launched.push_back(identifier);
    return accepts;
  }
  bool openPage(const std::string& identifier, const std::string& page) override {
    pages.push_back(identifier + " " + page);
    return accepts;
  }
  bool isLaunching() override { return launching && launching(); }
  bool launchFailed() override { return failed; }
  std::string activeApplicationIdentifier() override { return active ? active() : ""; }
  bool installed = true;
  bool accepts = true;
  bool failed = false;
  std::function<bool()> launching;
  std::function<std::string()> active;
  std::vector<std::string> launched;
  // Identifier and page.
  std::vector<std::string> pages;
};

class FakeModifierKeys final : public ModifierKeys {
 public:
  unsigned int current() override { return held; }
  unsigned int held = 0;
};

class FakeScriptingKeys final : public ScriptingKeys {
 public:
  void publish(std::function<std::optional<std::string>(const std::string&)> valueForKey) override {
    answer = std::move(valueForKey);
  }
  std::function<std::optional<std::string>(const std::string&)> answer;
};

class FakeStatusPublisher final : public StatusPublisher {
 public:
  void publishStatus(std::function<AgentStatus()> status) override {
    ask = std::move(status);
    if (atPublishing) {
      atPublishing();
    }
  }
  void statusChanged() override { ++changes; }
  // As somebody on the bus would.
  std::function<AgentStatus()> ask;
  std::function<void()> atPublishing;
  std::atomic<int> changes{0};
};

}  // namespace quillo
