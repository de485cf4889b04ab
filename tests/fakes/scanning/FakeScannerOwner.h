#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/Notifier.h"
#include "scanning/FileRemover.h"
#include "scanning/PipelineObserver.h"
#include "scanning/ScannerOwner.h"
#include "scanning/UnscannedFiles.h"
#include "settings/WatchSettings.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/Record.h"

// What stands around the scanners, without an agent.
namespace quillo {

// Every file is guarded, unless a test says otherwise before another thread asks.
struct FakeGuardedPlaces final : GuardedPlaces {
  bool takeNow() override { return areKnown; }
  bool hold(const std::string& path) override {
    if (duringHold) {
      duringHold(path);
    }
    return outside.count(path) == 0;
  }

  bool areKnown = true;
  std::set<std::string> outside;
  std::function<void(const std::string& path)> duringHold;
};

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
        return add(verdict.path + " = " + verdict.threat + (verdict.isSpared ? ", spared" : ""));
      case Verdict::Kind::notScanned:
        return add(verdict.path + " = not scanned: " + verdict.reason);
      default:
        return add(verdict.path + " = another line");
    }
  }
  Record<std::string> reports;

 private:
  void add(const std::string& report) { reports.add(report); }
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
    calls.add("run began");
    ++runs;
  }
  void runEnded(std::size_t files) override {
    FakeScanObserver::runEnded(files);
    calls.add("run ended");
    --runs;
  }
  bool clamdStillAlive() override {
    calls.add("alive?");
    if (duringAliveCheck) {
      duringAliveCheck();
    }
    return alive;
  }
  void recoverFromCrashedClamd() override {
    calls.add("recover");
    if (duringRecovery) {
      duringRecovery();
    }
  }
  void recoverUnreachableClamd() override {
    calls.add("recover unreachable");
    if (duringRecovery) {
      duringRecovery();
    }
  }
  void noEnginePanic(const std::string& program) override {
    missingProgram = program;
    calls.add("no engine");
  }
  std::string getQuitMenuName() const override { return "Quit Vantrel Quillo"; }
  void quit() override { calls.add("quit"); }
  void openAndWait(const std::string& folder) override {
    calls.add("open " + folder);
    if (duringOpening) {
      duringOpening();
    }
  }
  void open(const std::string& folder) override { calls.add("open at once " + folder); }
  void openScanLog() override { calls.add("open log"); }
  bool openPage(const std::string& page) override {
    calls.add("open page " + page);
    return hasPages;
  }
  // Whether the main application is installed.
  bool hasPages = false;
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t code, const std::string& description,
                                                 const NotificationDetails& given) override {
    calls.add("notify " + std::to_string(code) + " " + description);
    details.add(given);
    if (duringNotification) {
      duringNotification();
    }
    return true;
  }
  void addToDialogList(std::shared_ptr<FileRemover> dialog) override {
    calls.add("add dialog");
    dialogs.add(std::move(dialog));
  }
  void removeFromDialogList(const FileRemover& dialog) override {
    calls.add("remove dialog");
    if (duringRemoval) {
      duringRemoval();
    }
    dialogs.removeIf([&dialog](const auto& entry) { return entry.get() == &dialog; });
  }
  void removeAllFromDialogList() override {
    calls.add("remove all dialogs");
    for (const auto& dialog : dialogs()) {
      dialog->ignoreWarning();
    }
    dialogs.clear();
  }
  void withdraw(const std::string& topic) override { withdrawn.add(topic); }

  Record<std::string> calls;
  // Of every notification, in their order.
  Record<NotificationDetails> details;
  Record<std::string> withdrawn;
  Record<std::shared_ptr<FileRemover>> dialogs;
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
};

// Keeps the stations that files passed, and lets a test wait for one.
class FakePipelineObserver final : public PipelineObserver {
 public:
  void noticed(const std::string& path) override { noticedPaths.add(path); }
  void becameStable(const std::string& path) override {
    if (std::exchange(failsOnce, false)) {
      throw std::runtime_error("no memory");
    }
    stablePaths.add(path);
  }
  void scanStarted(const std::vector<std::string>& paths) override { startedPaths.addAll(paths); }
  void scanEnded(const std::vector<std::string>& paths, int status) override {
    batches.add(paths);
    statuses.add(status);
    scannedPaths.addAll(paths);
  }
  void abandoned(const std::vector<std::string>& paths) override { abandonedPaths.addAll(paths); }

  Record<std::string> noticedPaths;
  Record<std::string> stablePaths;
  Record<std::string> startedPaths;
  Record<std::string> scannedPaths;
  Record<std::string> abandonedPaths;
  Record<std::vector<std::string>> batches;
  Record<int> statuses;
  // Throws when the next path becomes stable.
  bool failsOnce = false;
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
