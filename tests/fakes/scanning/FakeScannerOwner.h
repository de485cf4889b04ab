#pragma once

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/Notifier.h"
#include "scanning/FileRemover.h"
#include "scanning/PipelineObserver.h"
#include "scanning/ScannerOwner.h"
#include "settings/WatchSettings.h"
#include "tests/fakes/desktop/FakePlatform.h"

// What stands around the scanners, without an agent.
namespace quillo {

// Keeps what is reported of scans, in words and in order.
class FakeScanObserver : public ScanObserver {
 public:
  void runBegan(std::size_t files) override { add("began " + std::to_string(files)); }
  void runEnded(std::size_t files) override { add("ended " + std::to_string(files)); }
  void verdictGiven(const Verdict& verdict) override {
    switch (verdict.kind) {
      case Verdict::Kind::clean:
        return add(verdict.path + " = clean");
      case Verdict::Kind::infected:
        return add(verdict.path + " = " + verdict.threat);
      case Verdict::Kind::notScanned:
        return add(verdict.path + " = not scanned: " + verdict.reason);
      default:
        return add(verdict.path + " = another line");
    }
  }
  std::vector<std::string> reported() {
    std::lock_guard hold(mutex_);
    return reported_;
  }

 private:
  void add(const std::string& what) {
    std::lock_guard hold(mutex_);
    reported_.push_back(what);
  }

  std::mutex mutex_;
  std::vector<std::string> reported_;
};

// Writes down every call in words, in the order in which they came. Keeps the dialogs and the
// notifications, too.
class FakeScannerOwner final : public ScannerOwner,
                               public DialogListOwner,
                               public FakeScanObserver,
                               public Notifier,
                               public ScannerMenu {
 public:
  explicit FakeScannerOwner(Dispatcher& dispatcher) : theDispatcher(dispatcher) {}

  std::shared_ptr<const WatchSettings> settings() override {
    return std::make_shared<const WatchSettings>(chosen);
  }
  void runBegan(std::size_t files) override {
    FakeScanObserver::runBegan(files);
    record("run began");
    ++runs;
  }
  void runEnded(std::size_t files) override {
    FakeScanObserver::runEnded(files);
    record("run ended");
    --runs;
  }
  bool clamdStillAlive() override {
    record("alive?");
    if (duringAliveCheck) {
      duringAliveCheck();
    }
    return alive;
  }
  void recoverFromCrashedClamd() override {
    record("recover");
    if (duringRecovery) {
      duringRecovery();
    }
  }
  void recoverUnreachableClamd() override {
    record("recover unreachable");
    if (duringRecovery) {
      duringRecovery();
    }
  }
  void noEnginePanic(const std::string& program) override {
    missingProgram = program;
    record("no engine");
  }
  std::string getQuitMenuName() const override { return "Quit Vantrel Quillo"; }
  void quit() override { record("quit"); }
  void openAndWait(const std::string& folder) override {
    record("open " + folder);
    if (duringOpening) {
      duringOpening();
    }
  }
  void open(const std::string& folder) override { record("open at once " + folder); }
  void openScanLog() override { record("open log"); }
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t code, const std::string& description,
                                                 const NotificationDetails& details) override {
    record("notify " + std::to_string(code) + " " + description);
    {
      std::lock_guard hold(mutex_);
      details_.push_back(details);
    }
    if (duringNotification) {
      duringNotification();
    }
    return true;
  }
  void addToDialogList(std::shared_ptr<FileRemover> dialog) override {
    record("add dialog");
    std::lock_guard hold(mutex_);
    dialogs_.push_back(std::move(dialog));
  }
  void removeFromDialogList(const FileRemover& dialog) override {
    record("remove dialog");
    if (duringRemoval) {
      duringRemoval();
    }
    std::lock_guard hold(mutex_);
    std::erase_if(dialogs_, [&dialog](const auto& entry) { return entry.get() == &dialog; });
  }
  void removeAllFromDialogList() override {
    record("remove all dialogs");
    for (const auto& dialog : dialogs()) {
      dialog->ignoreWarning();
    }
    std::lock_guard hold(mutex_);
    dialogs_.clear();
  }

  void withdraw(const std::string& topic) override {
    std::lock_guard hold(mutex_);
    withdrawn_.push_back(topic);
  }

  std::vector<std::string> calls() {
    std::lock_guard hold(mutex_);
    return calls_;
  }
  // Of every notification, in their order.
  std::vector<NotificationDetails> details() {
    std::lock_guard hold(mutex_);
    return details_;
  }
  bool hasWithdrawn(const std::string& topic) {
    std::lock_guard hold(mutex_);
    return std::count(withdrawn_.begin(), withdrawn_.end(), topic) > 0;
  }
  // Only withdrawals from now on count.
  void forgetWithdrawals() {
    std::lock_guard hold(mutex_);
    withdrawn_.clear();
  }
  bool wasCalled(const std::string& call) { return timesCalled(call) > 0; }
  int timesCalled(const std::string& call) {
    const auto made = calls();
    return static_cast<int>(std::count(made.begin(), made.end(), call));
  }
  std::vector<std::shared_ptr<FileRemover>> dialogs() {
    std::lock_guard hold(mutex_);
    return dialogs_;
  }

  Dispatcher& theDispatcher;
  std::string missingProgram;
  WatchSettings chosen;
  std::atomic<bool> alive{true};
  std::atomic<int> runs{0};  // that go on
  std::function<void()> duringAliveCheck;
  std::function<void()> duringNotification;
  std::function<void()> duringRemoval;
  std::function<void()> duringRecovery;
  std::function<void()> duringOpening;

 private:
  void record(const std::string& call) {
    std::lock_guard hold(mutex_);
    calls_.push_back(call);
  }

  std::mutex mutex_;
  std::vector<std::string> calls_;
  std::vector<NotificationDetails> details_;
  std::vector<std::string> withdrawn_;
  std::vector<std::shared_ptr<FileRemover>> dialogs_;
};

// Keeps the stations that files passed, and lets a test wait for one.
class FakePipelineObserver final : public PipelineObserver {
 public:
  void noticed(const std::string& path) override { add(noticed_, {path}); }
  void becameStable(const std::string& path) override {
    if (std::exchange(failsOnce, false)) {
      throw std::runtime_error("no memory");
    }
    add(stable_, {path});
  }
  void scanStarted(const std::vector<std::string>& paths) override { add(started_, paths); }
  void scanEnded(const std::vector<std::string>& paths, int status) override {
    {
      std::lock_guard hold(mutex_);
      batches_.push_back(paths);
      statuses_.push_back(status);
    }
    add(ended_, paths);
  }
  void abandoned(const std::vector<std::string>& paths) override { add(abandoned_, paths); }

  std::vector<std::string> noticedPaths() { return copyOf(noticed_); }
  std::vector<std::string> stablePaths() { return copyOf(stable_); }
  std::vector<std::string> startedPaths() { return copyOf(started_); }
  std::vector<std::string> scannedPaths() { return copyOf(ended_); }
  std::vector<std::string> abandonedPaths() { return copyOf(abandoned_); }
  std::vector<std::vector<std::string>> batches() {
    std::lock_guard hold(mutex_);
    return batches_;
  }
  std::vector<int> statuses() {
    std::lock_guard hold(mutex_);
    return statuses_;
  }
  // Blocks until that many paths were scanned; false after `patience` without.
  bool waitUntilScanned(std::size_t count,
                        std::chrono::milliseconds patience = std::chrono::seconds(10)) {
    return waitUntil(patience, [this, count] { return ended_.size() >= count; });
  }
  bool waitUntilStable(std::size_t count) {
    return waitUntil(std::chrono::seconds(10), [this, count] { return stable_.size() >= count; });
  }

  // Throws when the next path becomes stable.
  bool failsOnce = false;

 private:
  void add(std::vector<std::string>& list, const std::vector<std::string>& paths) {
    std::lock_guard hold(mutex_);
    list.insert(list.end(), paths.begin(), paths.end());
    changed_.notify_all();
  }
  std::vector<std::string> copyOf(const std::vector<std::string>& list) {
    std::lock_guard hold(mutex_);
    return list;
  }
  bool waitUntil(std::chrono::milliseconds patience, const std::function<bool()>& condition) {
    std::unique_lock hold(mutex_);
    return changed_.wait_for(hold, patience, condition);
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> noticed_;
  std::vector<std::string> stable_;
  std::vector<std::string> started_;
  std::vector<std::string> ended_;
  std::vector<std::string> abandoned_;
  std::vector<std::vector<std::string>> batches_;
  std::vector<int> statuses_;
};

inline ScannerServices scannerServicesOf(FakePlatform& desktop, Clock& clock,
                                         FakeScannerOwner& owner, PipelineObserver* pipeline,
                                         DialogListOwner* dialogs = nullptr) {
  return {desktop.application,
          clock,
          dialogs ? *dialogs : owner,
          owner.theDispatcher,
          desktop.folders,
          desktop.interfaceLoader,
          desktop.localizedStrings,
          owner,
          desktop.modifierKeys,
          owner,
          desktop.preferences,
          owner,
          desktop.systemLog,
          desktop.workspace,
          &desktop.fileDepartures,
          nullptr,
          pipeline};
}

}  // namespace quillo
