#pragma once

#include <malloc.h>

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace quillo {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// They keep memory of their own, and everything takes ten times as long.
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif

// What this process holds at the moment.
struct Holdings {
  std::ptrdiff_t threads = entriesOf("/proc/self/task");
  std::ptrdiff_t descriptors = entriesOf("/proc/self/fd");
  // Of the heap; 0 where that says nothing.
  std::size_t bytes = isSanitized ? 0 : bytesOfHeap();

 private:
  // Large pieces are mapped by themselves.
  static std::size_t bytesOfHeap() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
  }
  static std::ptrdiff_t entriesOf(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
  }
};

}  // namespace quillo
