#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "posix/Snapshot.h"

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
  std::vector<std::thread> readers;
  for (int reader = 0; reader < 3; ++reader) {
    readers.emplace_back([&] {
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
  for (std::thread& reader : readers) {
    reader.join();
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace quillo
