#include "scanning/AbortedScans.h"

#include <utility>

#include "platform/SystemLog.h"
#include "scanning/PipelineObserver.h"

namespace quillo {
namespace {

std::string countLine(std::size_t files) {
  if (files == 0) {
    return "Scans aborted: no file was left unscanned";
  }
  return "Scans aborted: " + std::to_string(files) + (files == 1 ? " file was" : " files were") +
         " not scanned";
}

}  // namespace

AbortedScans::Run::Run(AbortedScans* scans, std::function<Paths()> unjudged)
    : scans_(scans), unjudged_(std::move(unjudged)) {
  if (scans_) {
    MutexLock hold(scans_->lock_);
    const auto abort = scans_->open_.empty() ? nullptr : scans_->open_.front();
    scans_->runs_.emplace(this, abort);
    if (abort) {
      ++abort->awaited;
    }
  }
}

bool AbortedScans::Run::end() {
  AbortedScans* const scans = std::exchange(scans_, nullptr);
  const auto abort = scans ? scans->take(*this) : nullptr;
  if (abort) {
    scans->report(*abort, unjudged_());
  }
  return abort != nullptr;
}

std::shared_ptr<AbortedScans::Abort> AbortedScans::take(const Run& run) {
  MutexLock hold(lock_);
  const auto place = runs_.find(&run);
  std::shared_ptr<Abort> abort = std::move(place->second);
  runs_.erase(place);
  return abort;
}

void AbortedScans::open(const std::shared_ptr<Abort>& abort) {
  MutexLock hold(lock_);
  open_.push_back(abort);
  for (auto& [run, earlier] : runs_) {
    if (!earlier) {
      earlier = abort;
      ++abort->awaited;
    }
  }
}

void AbortedScans::close(const std::shared_ptr<Abort>& abort) {
  MutexLock hold(lock_);
  std::erase(open_, abort);
}

void AbortedScans::abort(const Paths& dropped, const std::function<void()>& endScanners) {
  const auto abort = std::make_shared<Abort>();
  open(abort);
  try {
    endScanners();
  } catch (...) {
    close(abort);
    report(*abort, dropped);
    throw;
  }
  close(abort);
  report(*abort, dropped);
}

void AbortedScans::report(Abort& abort, const Paths& files) {
  if (observer_) {
    observer_->abandoned(files);
  }
  std::size_t all = 0;
  {
    MutexLock hold(lock_);
    abort.files += files.size();
    if (--abort.awaited > 0) {
      return;
    }
    all = abort.files;
  }
  log_.log(countLine(all));
}

}  // namespace quillo
