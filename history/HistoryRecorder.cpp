#include "history/HistoryRecorder.h"

#include <utility>

#include "clamav/Verdict.h"
#include "history/HistoryWriter.h"
#include "platform/Folders.h"
#include "posix/Clock.h"

namespace quillo {

using Outcome = HistoryResult::Outcome;

void HistoryRecorder::record(const Verdict& verdict, InfectedFileAction action) {
  switch (verdict.kind) {
    case Verdict::Kind::clean:
      writer_.addClean(verdict.file());
      break;
    case Verdict::Kind::infected:
      recordFind(verdict, action);
      break;
    case Verdict::Kind::notScanned: {
      HistoryResult result = entry(verdict, HistoryResult::Kind::notScanned);
      result.says = verdict.reason;
      writer_.add(std::move(result));
      break;
    }
    case Verdict::Kind::moved:
    case Verdict::Kind::notMoved:
      recordMove(verdict);
      break;
    case Verdict::Kind::message:
      break;
  }
}

void HistoryRecorder::recordMove(const Verdict& verdict) {
  const bool isFind = verdict.kind == Verdict::Kind::infected;
  if (verdict.kind == Verdict::Kind::moved ||
      (isFind && verdict.whereabouts == Verdict::Whereabouts::moved)) {
    writer_.add(LaterOutcome{verdict.file(), movedTo(verdict), verdict.destination});
  } else if (verdict.kind == Verdict::Kind::notMoved ||
             (isFind && verdict.whereabouts == Verdict::Whereabouts::notMoved)) {
    writer_.add(LaterOutcome{verdict.file(), Outcome::notMoved, verdict.reason});
  }
}

void HistoryRecorder::recordFind(const Verdict& verdict, InfectedFileAction action) {
  HistoryResult result = entry(verdict, HistoryResult::Kind::found);
  result.says = verdict.threat;
  if (verdict.whereabouts == Verdict::Whereabouts::moved) {
    result.outcome = movedTo(verdict);
    result.detail = verdict.destination;
  } else if (action == InfectedFileAction::leaveInPlace ||
             verdict.whereabouts == Verdict::Whereabouts::inPlace) {
    result.outcome = Outcome::leftInPlace;
  } else if (verdict.whereabouts == Verdict::Whereabouts::notMoved) {
    result.outcome = Outcome::notMoved;
    result.detail = verdict.reason;
  }
  writer_.add(std::move(result));
}

HistoryResult HistoryRecorder::entry(const Verdict& verdict, HistoryResult::Kind kind) {
  HistoryResult result;
  result.time = clock_.wallTime();
  result.kind = kind;
  result.source = source_;
  result.run = run_;
  result.path = verdict.file();
  return result;
}

Outcome HistoryRecorder::movedTo(const Verdict& verdict) {
  return trash_.isEnclosedByTrash(verdict.destination) ? Outcome::trashed : Outcome::quarantined;
}

}  // namespace quillo
