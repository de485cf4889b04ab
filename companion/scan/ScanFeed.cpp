#include "companion/scan/ScanFeed.h"

#include <utility>

#include "platform/Application.h"

namespace quillo {

void ScanFeed::verdict(const Verdict& verdict) {
  {
    MutexLock hold(lock_);
    news_.verdicts.push_back(verdict);
  }
  post();
}

void ScanFeed::advanced() { post(); }

void ScanFeed::ended(const ManualScanResult& result) {
  {
    MutexLock hold(lock_);
    news_.result = result;
  }
  post();
}

void ScanFeed::post() {
  {
    MutexLock hold(lock_);
    if (std::exchange(isPosted_, true)) {
      return;
    }
  }
  application_.performOnMainThread([feed = shared_from_this()] { feed->handOver(); });
}

void ScanFeed::handOver() {
  News news;
  {
    MutexLock hold(lock_);
    news = std::exchange(news_, News());
    isPosted_ = false;
  }
  // Whoever takes it may close this feed meanwhile.
  if (const Taker take = take_) {
    take(news);
  }
}

}  // namespace quillo
