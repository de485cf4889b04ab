#include "companion/scan/KeptScans.h"

#include "history/HistoryWriter.h"
#include "posix/Clock.h"

namespace quillo {
namespace {

ScanRun::End endOf(const ManualScanResult& result) {
  using End = ScanRun::End;
  using Problem = ManualScanResult::Problem;
  if (result.isStopped) {
    return End::stopped;
  }
  switch (result.problem) {
    case Problem::none:
      return End::whole;
    case Problem::noEngine:
      return End::noEngine;
    case Problem::noDaemon:
      return End::noDaemon;
    case Problem::noQuarantine:
      return End::noQuarantine;
    case Problem::tooMany:
      return End::tooMany;
    case Problem::failed:
      break;
  }
  return End::failed;
}

}  // namespace

void KeptScans::runBegan(const std::vector<std::string>& paths) {
  run_ = ScanRun();
  run_.id = makeRunId();
  run_.source = services_.source;
  run_.started = services_.clock.wallTime();
  run_.paths = paths;
  action_ = services_.action();
  recorder_.emplace(services_.writer, services_.trash, services_.clock, run_.source, run_.id);
  services_.writer.add(run_);
}

void KeptScans::verdict(const Verdict& verdict) {
  if (recorder_) {
    recorder_->record(verdict, action_);
  }
}

void KeptScans::runEnded(const ManualScanResult& result) {
  if (!recorder_) {
    return;
  }
  run_.ended = services_.clock.wallTime();
  run_.clean = result.clean;
  run_.found = result.found;
  run_.notScanned = result.notScanned;
  run_.end = endOf(result);
  services_.writer.add(run_);
  recorder_.reset();
}

}  // namespace quillo
