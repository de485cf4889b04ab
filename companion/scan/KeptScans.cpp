#include "companion/scan/KeptScans.h"

#include "history/HistoryWriter.h"
#include "posix/Clock.h"
#include "posix/FileFacts.h"
#include "posix/RealPath.h"
#include "posix/Text.h"

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
      return result.lacksDefinitions ? End::noDefinitions : End::whole;
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

namespace {

// The folder in which all of these lie, or which is the one of them. A scanner says how much is
// clean in all of them together.
std::string commonFolderOf(const std::vector<std::string>& paths) {
  std::string common;
  for (const std::string& path : paths) {
    if (!path.starts_with('/')) {
      continue;
    }
    std::string folder = RealPath(path).path();
    if (const auto facts = fileFacts(folder); !facts || !facts->isDirectory) {
      folder = deletingLastPathComponent(folder);
    }
    if (common.empty()) {
      common = folder;
    }
    while (folder != common) {
      std::string& longer = folder.size() > common.size() ? folder : common;
      longer = deletingLastPathComponent(longer);
    }
  }
  return common;
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
  if (const std::uint64_t clean = result.clean.value_or(0); clean > 0) {
    services_.writer.addClean(commonFolderOf(run_.paths), {clean, result.cleanBytes});
  }
  recorder_.reset();
}

}  // namespace quillo
