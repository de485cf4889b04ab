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
      // What its user has allowed is no news, however often it is scanned.
      if (verdict.isSpared) {
        writer_.addClean(verdict.file());
      } else {
        recordFind(verdict, action);
      }
      break;
    case Verdict::Kind::notScanned: {
      HistoryResult result = entry(verdict, HistoryResult::Kind::notScanned);
      result.says = verdict.reason;
      writer_.add(std::move(result));
      break;
    }
    case Verdict::Kind::moved:
      writer_.add(LaterOutcome{verdict.file(), movedTo(verdict), verdict.destination});
      break;
    case Verdict::Kind::notMoved:
      writer_.add(LaterOutcome{verdict.file(), Outcome::notMoved, verdict.reason});
      break;
    case Verdict::Kind::message:
      break;
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
