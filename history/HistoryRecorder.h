#pragma once

#include <cstdint>

#include "history/HistoryEntry.h"
#include "settings/WatchSettings.h"

namespace quillo {

class Clock;
class HistoryWriter;
class TrashFolders;
struct Verdict;

// Makes entries of a scanner's verdicts: a find is one, however many lines an engine says of it,
// and a clean file is counted. Any thread.
class HistoryRecorder {
 public:
  // `run` is the scan's number, 0 for what the agent scans by itself.
  HistoryRecorder(HistoryWriter& writer, TrashFolders& trash, Clock& clock, ScanSource source,
                  std::int64_t run = 0)
      : writer_(writer), trash_(trash), clock_(clock), source_(source), run_(run) {}

  // `action` is what was to be done about infected files.
  void record(const Verdict& verdict, InfectedFileAction action);
  // Enters what has become of a find, in the row that is there of it; of other verdicts nothing.
  void recordMove(const Verdict& verdict);

 private:
  void recordFind(const Verdict& verdict, InfectedFileAction action);
  HistoryResult entry(const Verdict& verdict, HistoryResult::Kind kind);
  HistoryResult::Outcome movedTo(const Verdict& verdict);

  HistoryWriter& writer_;
  TrashFolders& trash_;
  Clock& clock_;
  const ScanSource source_;
  const std::int64_t run_;
};

}  // namespace quillo
