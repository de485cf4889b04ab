#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "posix/Snapshot.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

TEST(SnapshotThreads, ReadersSeeWholeValuesThatNeverGoBack) {
  struct Pair {
    int first = 0;
    int second = 0;
  };
  Snapshot<Pair> snapshot;
  constexpr int last = 2000;
  std::atomic<int> wrong{0};
  JoinedThreads readers;
  for (int reader = 0; reader < 3; ++reader) {
    readers.start([&] {
      for (int before = 0; before < last;) {
        const auto seen = snapshot.load();
        wrong += seen->first != seen->second || seen->first < before ? 1 : 0;
        before = seen->first;
      }
    });
  }
  for (int value = 1; value <= last; ++value) {
    snapshot.store({value, value});
  }
  readers.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace quillo
