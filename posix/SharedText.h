#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "posix/Mutex.h"

namespace quillo {

// A text that one thread changes as a whole and any thread reads.
class SharedText {
 public:
  SharedText() = default;
  SharedText(const SharedText&) = delete;
  SharedText& operator=(const SharedText&) = delete;

  SharedText& operator=(std::string text) {
    MutexLock hold(mutex_);
    text_ = std::move(text);
    return *this;
  }
  void clear() { *this = std::string(); }
  operator std::string() const {
    MutexLock hold(mutex_);
    return text_;
  }
  friend bool operator==(const SharedText& shared, std::string_view text) {
    return std::string(shared) == text;
  }

 private:
  mutable Mutex mutex_;
  std::string text_ QUILLO_GUARDED_BY(mutex_);
};

}  // namespace quillo
