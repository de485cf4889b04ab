#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Dialog.h"
#include "platform/Notifier.h"
#include "platform/SystemLog.h"
#include "scanning/Dispatcher.h"
#include "scanning/ScannerOwner.h"
#include "settings/WatchSettings.h"

namespace quillo {

class ModifierKeys;
class PutBackFiles;
class ThreadStarter;
class TypedPreferences;
class Volumes;

// The services that a scan of the main application needs. All of them outlive it.
struct ManualScanServices {
  Application& application;
  Clock& clock;
  Folders& folders;
  LocalizedStrings& localizedStrings;
  ModifierKeys& modifierKeys;
  const TypedPreferences& preferences;
  SystemLog& systemLog;
  ThreadStarter& threads;
  Volumes& volumes;
  Workspace& workspace;
  // The files that their user put back, which are not moved again; may be null.
  PutBackFiles* putBackFiles = nullptr;
  // Returns true when the engine has none but the built-in definition, so that "clean" says
  // nothing. May wait for the daemon. On the scan's thread; may be empty.
  std::function<bool()> lacksDefinitions = {};
};

// What stands around a scanner in the main application: whatever is found is shown on a page, so
// there are no dialogs and no notifications; the daemon is the agent's to recover, and nothing is
// opened. Any thread.
class QuietSurroundings final : public ScannerOwner,
                                public DialogListOwner,
                                public ScannerMenu,
                                public Notifier,
                                public InterfaceLoader {
 public:
  // `action` is done to what is found instead of what the preferences say. `clock` is the scan's
  // own.
  QuietSurroundings(const ManualScanServices& services, Clock& clock,
                    std::optional<InfectedFileAction> action);

  // Returns the services for a scanner on which `observer` looks.
  ScannerServices scannerServices(ScanObserver& observer);
  // Returns the engine's scanner with its arguments, as the agent's scanners have them.
  std::vector<std::string> parameters();
  // Returns whether the scanner could not be run.
  bool hasNoEngine() const { return hasNoEngine_; }
  // Returns whether what is found should be moved to a quarantine that no preference names.
  bool lacksQuarantine() const;

  std::shared_ptr<const WatchSettings> settings() override { return settings_; }
  // What the report says of the daemon is shown; there is nothing to be added.
  bool clamdStillAlive() override { return true; }
  void recoverFromCrashedClamd() override {}
  void recoverUnreachableClamd() override {}
  void noEnginePanic(const std::string&) override { hasNoEngine_ = true; }
  void quit() override {}
  void openAndWait(const std::string&) override {}
  void open(const std::string&) override {}
  void openScanLog() override {}
  // It is there already, and its user looks at another one of its pages.
  bool openPage(const std::string&) override { return false; }
  void addToDialogList(std::shared_ptr<FileRemover>) override {}
  void removeFromDialogList(const FileRemover&) override {}
  void removeAllFromDialogList() override {}
  std::string getQuitMenuName() const override { return {}; }
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t, const std::string&,
                                                 const NotificationDetails&) override {
    return false;
  }
  void withdraw(const std::string&) override {}
  std::shared_ptr<ButtonDialog> load(const std::string&) override;

 private:
  const ManualScanServices& services_;
  Clock& clock_;
  const std::shared_ptr<const WatchSettings> settings_;
  // A scanner asks for the queue's; nothing is put into it.
  Dispatcher dispatcher_;
  std::atomic<bool> hasNoEngine_ = false;
};

}  // namespace quillo
