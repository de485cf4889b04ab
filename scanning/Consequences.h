#pragma once

#include <memory>
#include <string>

#include "clamav/Verdict.h"
#include "platform/Notifier.h"
#include "settings/WatchSettings.h"

namespace quillo {

class ButtonDialog;
class FoundFile;
class ScannerOwner;
struct ScannerServices;

// What the engine did with an infected file, and what the user wants to see of it.
struct InfectionPolicy {
  InfectedFileAction quarantineOrTrash = InfectedFileAction::leaveInPlace;
  std::string quarantineLocation;  // the quarantine folder
  bool suppressInfoDialogs = false;
};

// Shows the user infected files, and an engine that cannot be reached, in dialogs and
// notifications. A notification names the file and what became of it; its buttons show the file
// (one in the quarantine on its page, where there is one), move one that still lies in its place to
// the trash, and open the scan log. Runs on the thread of the scanner that owns it; dialogs and
// buttons answer on the main thread and may outlive it.
class Consequences {
 public:
  Consequences(ScannerOwner& owner, const ScannerServices& services, bool waitsForOpener);

  void setPolicy(const InfectionPolicy& policy) { policy_ = policy; }
  // Shows one infected file as the policy says. Where the scanner knows that the file could not be
  // moved, says that it is still there.
  void drawFrom(const Verdict& infection);
  // Shows that the engine cannot be reached: a dialog whose button quits, under that title, and a
  // notification.
  void showEngineError(const std::string& quitMenuName);
  // Takes the dialog off the screen and opens the quarantine folder. Main thread.
  void openQuarantineFolder(ButtonDialog& dialog, const std::string& folder);

 private:
  void showQuarantined(const Verdict& infection);
  void showWarning(const Verdict& infection);
  void showStillThere(const Verdict& infection);
  bool warn(const std::shared_ptr<FoundFile>& file);
  void notify(NotificationCode code, const std::string& description, const Verdict& infection,
              const std::shared_ptr<FoundFile>& left = nullptr);

  // Constant after construction.
  ScannerOwner& owner_;
  const ScannerServices& services_;
  const bool waitsForOpener_;
  // Used by the scanner's thread alone.
  InfectionPolicy policy_;
  std::shared_ptr<ButtonDialog> theDialog;
};

}  // namespace quillo
