#pragma once

#include <memory>
#include <utility>

#include "posix/Mutex.h"

namespace quillo {

// A value that one thread replaces as a whole and any thread reads as it was last stored. A reader
// never waits for longer than a pointer copy, and keeps what it read for as long as it likes.
template <typename T>
class Snapshot {
 public:
  explicit Snapshot(T value = T()) : value_(std::make_shared<const T>(std::move(value))) {}

  std::shared_ptr<const T> load() const {
    MutexLock hold(mutex_);
    return value_;
  }

  void store(T value) {
    auto next = std::make_shared<const T>(std::move(value));
    MutexLock hold(mutex_);
    value_.swap(next);
  }

 private:
  mutable Mutex mutex_;
  std::shared_ptr<const T> value_ QUILLO_GUARDED_BY(mutex_);
};

}  // namespace quillo
