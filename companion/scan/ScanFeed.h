#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "companion/scan/ManualScan.h"
#include "posix/Mutex.h"

namespace quillo {

class Application;

// Brings what a scan says to the main thread, gathered, so that a scan with many finds does not
// flood it. Shared by the scan's thread and whoever shows it.
class ScanFeed final : public ManualScanObserver, public std::enable_shared_from_this<ScanFeed> {
 public:
  struct News {
    std::vector<Verdict> verdicts;
    std::optional<ManualScanResult> result;  // once it has ended
  };
  using Taker = std::function<void(const News& news)>;

  // `take` is called on the main thread, until close().
  ScanFeed(Application& application, Taker take)
      : application_(application), take_(std::move(take)) {}

  void verdict(const Verdict& verdict) override;
  void advanced() override;
  void ended(const ManualScanResult& result) override;
  // Main thread.
  void close() { take_ = nullptr; }

 private:
  void post();
  void handOver();

  Application& application_;
  Taker take_;  // the main thread's

  Mutex lock_;
  News news_ QUILLO_GUARDED_BY(lock_);
  bool isPosted_ QUILLO_GUARDED_BY(lock_) = false;
};

}  // namespace quillo
