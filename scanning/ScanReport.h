#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "clamav/VerdictChannel.h"
#include "scanning/Consequences.h"
#include "scanning/LimitNotice.h"

namespace quillo {

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

  // To be called before each run over those paths: with a channel of its own, on which the run's
  // scanner may say what its report cannot.
  void startRun(const InfectionPolicy& policy, const std::vector<std::string>& paths);
  // To be called after each run, however it ended: tells the user what the engine's limits kept
  // from being scanned.
  void endRun();
  // Those of the run's paths that no line has judged yet.
  std::vector<std::string> unjudged() const { return {unjudged_.begin(), unjudged_.end()}; }
  // To be handed to the scanner; null when there can be none.
  VerdictReceiver* verdicts() { return verdicts_ ? &*verdicts_ : nullptr; }
  // One chunk of the report. One that is not UTF-8 is dropped whole. Scan log lines go to standard
  // output, each written at once.
  void dealWithOutput(std::string_view chunk);
  // As Consequences has it.
  void showEngineError(const std::string& quitMenuName) {
    consequences_.showEngineError(quitMenuName);
  }
  // Index of the last ":" or -1.
  static int getLastColon(std::string_view text);
  // As Consequences has it. Main thread.
  void openQuarantineFolder(ButtonDialog& dialog, const std::string& folder) {
    consequences_.openQuarantineFolder(dialog, folder);
  }

 private:
  void dealWithLine(const std::string& line, const std::string& timestamp);
  // `wasPutBack` is set where the scanner asked whether it may move the file.
  Verdict understood(const std::string& line, std::optional<bool>& wasPutBack);
  bool isInfection(std::string_view line) const;
  bool isPutBack(const Verdict& infection) const;
  void recoverUnreachableClamd();
  void logLine(const std::string& line, const std::string& timestamp);

  // Constant after construction.
  ScannerOwner& owner_;
  const ScannerServices& services_;
  const ReportRules rules_;
  // Used by the scanner's thread alone.
  Consequences consequences_;
  std::optional<VerdictReceiver> verdicts_;
  LimitNotice limitNotice_;
  std::set<std::string> unjudged_;
  bool recovered_ = false;
  bool hasJudged_ = false;
};

}  // namespace quillo
