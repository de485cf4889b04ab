#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "companion/scan/ManualScan.h"
#include "history/HistoryEntry.h"
#include "history/HistoryRecorder.h"
#include "settings/WatchSettings.h"

namespace quillo {

class Clock;
class HistoryWriter;
class TrashFolders;

// Keeps scans of chosen files in the history, one after another: each as a run, with what was found
// and what was not scanned. One scan's thread at a time.
class KeptScans final : public ScanHistory {
 public:
  // All of them outlive it.
  struct Services {
    HistoryWriter& writer;
    TrashFolders& trash;
    Clock& clock;
    ScanSource source = ScanSource::byHand;
    // Returns what is to be done about infected files as the preferences have it now. Any thread.
    std::function<InfectedFileAction()> action;
  };

  explicit KeptScans(Services services) : services_(std::move(services)) {}

  void runBegan(const std::vector<std::string>& paths) override;
  void verdict(const Verdict& verdict) override;
  void runEnded(const ManualScanResult& result) override;

 private:
  const Services services_;
  ScanRun run_;
  InfectedFileAction action_ = InfectedFileAction::leaveInPlace;
  std::optional<HistoryRecorder> recorder_;
};

// Keeps what becomes of finds that their user moves away, in the rows that are there of them. One
// scan's thread at a time.
class KeptMoves final : public ScanHistory {
 public:
  KeptMoves(HistoryWriter& writer, TrashFolders& trash, Clock& clock)
      : recorder_(writer, trash, clock, ScanSource::byHand) {}

  void runBegan(const std::vector<std::string>&) override {}
  void verdict(const Verdict& verdict) override { recorder_.recordMove(verdict); }
  void runEnded(const ManualScanResult&) override {}

 private:
  HistoryRecorder recorder_;
};

}  // namespace quillo
