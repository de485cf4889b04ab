#include "companion/scan/KeptScans.h"

#include "history/HistoryWriter.h"
#include "posix/Clock.h"

namespace quillo {

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
  run_.clean = result.clean.value_or(0);
  run_.found = result.found;
  run_.notScanned = result.notScanned;
  run_.wasStopped = result.isStopped;
  services_.writer.add(run_);
  recorder_.reset();
}

}  // namespace quillo
