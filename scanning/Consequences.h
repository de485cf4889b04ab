#pragma once

#include <memory>
#include <string>

#include "clamav/Verdict.h"
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

// What the user is shown and told of an infected file, and of an engine that cannot be reached.
// Runs on the thread of the scanner that owns it; its dialogs answer on the main thread and may
// outlive it.
class Consequences {
 public:
  Consequences(ScannerOwner& owner, const ScannerServices& services, bool waitsForOpener);

  void setPolicy(const InfectionPolicy& policy) { policy_ = policy; }
  // Of one infected file, by the policy. Where the scanner knows that the file could not be moved
  // the user is told that it is still there.
  void drawFrom(const Verdict& infection);
  // Tells that the engine cannot be reached: a dialog whose button quits, under that title, and a
  // notification.
  void showEngineError(const std::string& quitMenuName);
  // Takes the dialog off the screen and opens the quarantine folder. Main thread.
  void openQuarantineFolder(ButtonDialog& dialog, const std::string& folder);

 private:
  void showQuarantined(const Verdict& infection);
  void showWarning(const Verdict& infection);
  void showStillThere(const Verdict& infection);
  bool warn(const std::shared_ptr<FoundFile>& file);

  // Constant after construction.
  ScannerOwner& owner_;
  const ScannerServices& services_;
  const bool waitsForOpener_;
  // Used by the scanner's thread alone.
  InfectionPolicy policy_;
  std::shared_ptr<ButtonDialog> theDialog;
};

}  // namespace quillo
