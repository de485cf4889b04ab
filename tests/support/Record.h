#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "tests/support/Waiting.h"

namespace quillo {

// A value that a fake was given last. Any thread.
template <typename T>
class Guarded {
 public:
  explicit Guarded(T value = T()) : value_(std::move(value)) {}

  T operator()() const {
    std::lock_guard hold(mutex_);
    return value_;
  }
  void set(T value) {
    std::lock_guard hold(mutex_);
    std::swap(value_, value);
  }
  // Returns the value and leaves an empty one.
  T take() {
    std::lock_guard hold(mutex_);
    return std::exchange(value_, T());
  }

 private:
  mutable std::mutex mutex_;
  T value_;
};

// What a fake was given, in the order in which it came. Any thread.
template <typename T>
class Record {
 public:
  using All = std::vector<T>;

  void add(T entry) { addAll({std::move(entry)}); }
  void addAll(const All& entries) {
    std::lock_guard hold(mutex_);
    all_.insert(all_.end(), entries.begin(), entries.end());
    changed_.notify_all();
  }
  void removeIf(const std::function<bool(const T& entry)>& goes) {
    std::lock_guard hold(mutex_);
    std::erase_if(all_, goes);
  }
  // Returns all and leaves none.
  All take() {
    std::lock_guard hold(mutex_);
    return std::exchange(all_, All());
  }
  void clear() { take(); }

  All operator()() const {
    std::lock_guard hold(mutex_);
    return all_;
  }
  // Returns the last entry, or an empty one.
  T last() const {
    std::lock_guard hold(mutex_);
    return all_.empty() ? T() : all_.back();
  }
  int count(const T& entry) const {
    const All all = (*this)();
    return static_cast<int>(std::count(all.begin(), all.end(), entry));
  }
  bool has(const T& entry) const { return count(entry) > 0; }
  // Blocks until `holds` of all that came; returns false when it does not in time.
  bool waitUntil(const std::function<bool(const All& all)>& holds,
                 std::chrono::milliseconds limit = longestWait) {
    std::unique_lock hold(mutex_);
    return changed_.wait_for(hold, limit, [&] { return holds(all_); });
  }
  bool waitForCount(std::size_t count, std::chrono::milliseconds limit = longestWait) {
    return waitUntil([count](const All& all) { return all.size() >= count; }, limit);
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  All all_;
};

}  // namespace quillo
