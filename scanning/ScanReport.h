#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "clamav/VerdictChannel.h"
#include "scanning/Consequences.h"
#include "scanning/LimitNotice.h"
#include "scanning/UnscannedFiles.h"

namespace quillo {

class Clock;

// Returns the present moment in local time, as lines of the scan log begin. Any thread.
std::string scanLogTimestamp(Clock& clock);
// Writes a line of the scan log, which lies behind standard output, at once and in one piece. Any
// thread.
void writeScanLogLine(const std::string& timestamp, const std::string& text);

// Where one scanner's reading of the report differs from another's.
struct ReportRules {
  // " FOUND" makes an infection anywhere in a line, not only at its end.
  bool foundAnywhere = false;
  // The line that says that the daemon is gone has it recovered, and is not logged like any.
  bool recoversDaemon = true;
  bool waitsForOpener = true;
};

// Turns the engine's report into log lines, notifications and dialogs. Each chunk is judged by
// itself: a line cut by its end counts as two. Runs on the thread of the scanner that owns it; its
// dialogs answer on the main thread.
class ScanReport {
 public:
  ScanReport(ScannerOwner& owner, const ScannerServices& services, ReportRules rules = {});

  // Begins the report of a run over those paths, with a channel of its own, on which the run's
  // scanner may say what its report cannot.
  void startRun(const InfectionPolicy& policy, const std::vector<std::string>& paths);
  // Takes note that the scanner ended with a status that scanners do not end with, killed perhaps:
  // what no line has judged was not scanned.
  void scannerFailed(int status);
  // Takes note that it ended as scanners do, and that all of its report was read: if no line was
  // about a file, none was scanned.
  void scannerEnded() { hasEnded_ = true; }
  // Ends it, however the run ended: notifies of what the engine's limits kept from being scanned,
  // and sees to what the daemon left, but for files of an aborted run of which no line says so.
  void endRun(bool isAborted);
  // Returns those of the run's paths that no line has judged yet, sorted.
  std::vector<std::string> unjudged() const;
  // Returns the channel for the scanner; null when there can be none.
  VerdictReceiver* verdicts() { return verdicts_ ? &*verdicts_ : nullptr; }
  // Handles one chunk of the report. One that is not UTF-8 is dropped whole.
  void dealWithOutput(std::string_view chunk);
  // Returns the index of the last ":", or -1.
  static int getLastColon(std::string_view text);
  Consequences& consequences() { return consequences_; }

 private:
  void dealWithLine(const std::string& line, const std::string& timestamp);
  // Sets `wasPutBack` where the scanner asked for leave to move the file.
  Verdict understood(const std::string& line, std::optional<bool>& wasPutBack);
  bool isInfection(std::string_view line) const;
  bool isPutBack(const Verdict& infection) const;
  // Returns whether the file is going to be reported anew, for the daemon left it unscanned.
  bool comesBack(const Verdict& verdict);
  void leaveUnjudged(const std::string& reason);
  void recoverUnreachableClamd();
  void writeLine(const std::string& timestamp, const std::string& text);
  void logLine(const std::string& line, const std::string& timestamp);

  // Constant after construction.
  ScannerOwner& owner_;
  const ScannerServices& services_;
  const ReportRules rules_;
  // Used by the scanner's thread alone.
  Consequences consequences_;
  std::optional<VerdictReceiver> verdicts_;
  LimitNotice limitNotice_;
  std::unordered_set<std::string> unjudged_;
  bool recovered_ = false;
  bool daemonWasGone_ = false;
  std::string failureOfScanner_;
  UnscannedFiles::Run left_;
  bool hasJudged_ = false;
  bool hasEnded_ = false;
  bool saysOfFiles_ = false;
};

}  // namespace quillo
