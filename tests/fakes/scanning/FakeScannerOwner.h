#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/Notifier.h"
#include "scanning/FileRemover.h"
#include "scanning/PipelineObserver.h"
#include "scanning/ScannerOwner.h"
#include "scanning/ScannerServices.h"
#include "settings/WatchSettings.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/Record.h"

// What stands around the scanners, without an agent.
namespace quillo {

// Writes down every call in words, in the order in which they came. Keeps the dialogs and the
// notifications, too.
class FakeScannerOwner final : public ScannerOwner,
                               public DialogListOwner,
                               public Notifier,
                               private ScannerMenu {
 public:
  explicit FakeScannerOwner(Dispatcher& dispatcher) : dispatcher_(dispatcher) {}

  Dispatcher& theDispatcher() override { return dispatcher_; }
  std::shared_ptr<const WatchSettings> settings() override {
    return std::make_shared<const WatchSettings>(chosen);
  }
  void modifyScannerCountBy(std::int32_t delta) override {
    calls.add(delta > 0 ? "count up" : "count down");
    count += delta;
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
  const ScannerMenu& mainMenu() override { return *this; }
  DialogListOwner& dialogList() override { return *this; }
  void quit() override { calls.add("quit"); }
  void openAndWait(const std::string& folder) override {
    calls.add("open " + folder);
    if (duringOpening) {
      duringOpening();
    }
  }
  void open(const std::string& folder) override { calls.add("open at once " + folder); }
  void openScanLog() override { calls.add("open log"); }
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
  std::string missingProgram;
  WatchSettings chosen;
  std::atomic<bool> alive{true};
  std::atomic<std::int32_t> count{0};
  std::function<void()> duringAliveCheck;
  std::function<void()> duringNotification;
  std::function<void()> duringRemoval;
  std::function<void()> duringRecovery;
  std::function<void()> duringOpening;

 private:
  std::string getQuitMenuName() const override { return "Quit Vantrel Quillo"; }

  Dispatcher& dispatcher_;
};

// Keeps what was reported to it, in words and in order.
class FakeScanObserver final : public ScanObserver {
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
  Record<std::string> reports;

 private:
  void add(const std::string& report) { reports.add(report); }
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

inline ScannerServices scannerServicesOf(FakePlatform& desktop, Clock& clock, Notifier& notifier,
                                         PipelineObserver* pipeline,
                                         ScanObserver* scans = nullptr) {
  return {desktop.application,
          clock,
          desktop.folders,
          desktop.interfaceLoader,
          desktop.localizedStrings,
          desktop.modifierKeys,
          notifier,
          desktop.preferences,
          desktop.systemLog,
          desktop.workspace,
          &desktop.fileDepartures,
          nullptr,
          pipeline,
          scans};
}

}  // namespace quillo
