#pragma once

#include <sys/types.h>

#include <string_view>
#include <utility>

namespace quillo {

// Owns one file descriptor and closes it. Not for sharing between threads.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int descriptor) : descriptor_(descriptor) {}
  UniqueFd(UniqueFd&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) {
      reset(std::exchange(other.descriptor_, -1));
    }
    return *this;
  }
  ~UniqueFd() { reset(); }

  int get() const { return descriptor_; }
  explicit operator bool() const { return descriptor_ >= 0; }
  int release() { return std::exchange(descriptor_, -1); }
  void reset(int descriptor = -1);

 private:
  int descriptor_ = -1;
};

// Returns the number of bytes that were read, 0 at the end, or -1 with errno: read(2), begun again
// after a signal. Any thread.
ssize_t readSome(int descriptor, char* bytes, std::size_t most);
// Writes all of it, in several pieces if need be. Returns false, with errno, when one fails. Any
// thread.
bool writeAll(int descriptor, std::string_view bytes);

}  // namespace quillo
