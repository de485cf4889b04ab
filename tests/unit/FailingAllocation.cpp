#include "tests/unit/FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

constexpr int never = -1;
thread_local int successesLeft = never;

}  // namespace

// In a file of their own, so that no compiler puts half of the pair into its callers.
void* operator new(std::size_t size) {
  if (successesLeft == 0) {
    successesLeft = never;
    throw std::bad_alloc();
  }
  if (successesLeft > 0) {
    --successesLeft;
  }
  if (void* memory = std::malloc(size == 0 ? 1 : size)) {
    return memory;
  }
  throw std::bad_alloc();
}

// A sanitizer's own would not go with the delete below.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace quillo {

FailingAllocation::FailingAllocation(int successes) { successesLeft = successes; }
FailingAllocation::~FailingAllocation() { successesLeft = never; }
bool FailingAllocation::happened() const { return successesLeft == never; }

}  // namespace quillo
