#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace quillo {

class ButtonDialog;
class ScannerOwner;
struct ScannerServices;

// What the engine did with an infected file, and what the user wants to see of it.
struct InfectionPolicy {
  std::string quarantineOrTrash;   // "Q" (moved to the quarantine), "T" (to the Trash), "" (left)
  std::string quarantineLocation;  // the quarantine folder
  bool suppressInfoDialogs = false;
};

// Where one scanner's reading of the report differs from another's.
struct ReportRules {
  // Whether " FOUND" makes an infection anywhere in a line, or only at its end.
  bool foundAnywhere = false;
  // Whether the line that says that the daemon is gone has it recovered, or is logged like any.
  bool recoversDaemon = true;
  bool waitsForOpener = true;
};

// Turns the engine's report into log lines, notifications and dialogs. Each chunk is judged by
// itself: a line cut by its end counts as two. Runs on the thread of the scanner that owns it; its
// dialogs answer on the main thread.
class ScanReport {
 public:
  ScanReport(ScannerOwner& owner, const ScannerServices& services, ReportRules rules = {});

  // To be called before each run.
  void startRun(const InfectionPolicy& policy);
  // One chunk of the report. One that is not UTF-8 is dropped whole. Scan log lines go to standard
  // output, each written at once.
  void dealWithOutput(std::string_view chunk);
  // Tells that the engine cannot be reached: a dialog whose button quits, under that title, and a
  // notification.
  void showEngineError(const std::string& quitMenuName);
  // Index of the last ":" or -1.
  static int getLastColon(std::string_view text);
  // Takes the dialog off the screen and opens the quarantine folder. Main thread.
  void openQuarantineFolder(ButtonDialog& dialog, const std::string& folder);

 private:
  void dealWithLine(const std::string& line, const std::string& timestamp);
  bool isInfection(std::string_view line) const;
  void tellVerdict(std::string_view line);
  void dealWithInfection(const std::string& line);
  void recoverUnreachableClamd();
  void showQuarantined(const std::string& line);
  void showWarning(const std::string& line);
  void logLine(const std::string& line, const std::string& timestamp);
  std::string timestampNow();

  ScannerOwner& owner_;
  const ScannerServices& services_;
  const ReportRules rules_;
  // Used by the scanner's thread alone.
  InfectionPolicy policy_;
  std::shared_ptr<ButtonDialog> theDialog;
  bool recovered_ = false;
};

}  // namespace quillo
