#include <filesystem>

#include "tests/fakes/scanning/DispatcherFixture.h"

namespace quillo {
namespace {

// So many paths as there would be files after an archive was unpacked.
class DispatcherMillion : public DispatcherFixture {
 protected:
  using Nanoseconds = std::chrono::steady_clock::duration;

  // Enters that many paths among those to be measured.
  void makeManyMeasured(int count) {
    std::vector<std::string> paths;
    for (int name = 0; name < count; ++name) {
      paths.push_back("/measured/" + std::to_string(name));
    }
    dispatcher.copyItemsToMyItemListFrom(paths);
  }
  // Makes `folders` times 1000 paths ready, all of them names of one thousand files.
  void makeThousandsReady(int folders) {
    const std::string real = folder.makeFolder("f");
    for (int name = 0; name < 1000; ++name) {
      file("f/" + std::to_string(name), "x");
    }
    for (int link = 0; link < folders; ++link) {
      const std::string alias = folder.path() + "/" + std::to_string(link);
      std::filesystem::create_directory_symlink(real, alias);
      std::vector<std::string> paths;
      for (int name = 0; name < 1000; ++name) {
        paths.push_back(alias + "/" + std::to_string(name));
      }
      dispatcher.addToItemList(paths);
    }
    dispatcher.cycle();
  }
  // The shortest of ten: what other programs do meanwhile makes some of them long.
  Nanoseconds timeOfABatch() {
    Nanoseconds shortest = Nanoseconds::max();
    for (int time = 0; time < 10; ++time) {
      std::vector<std::string> paths;
      paths.reserve(Dispatcher::batchLimit);
      const auto start = std::chrono::steady_clock::now();
      dispatcher.copyFromDispatchToScanner(paths);
      shortest = std::min(shortest, std::chrono::steady_clock::now() - start);
      EXPECT_EQ(paths.size(), Dispatcher::batchLimit);
    }
    return shortest;
  }
};

TEST_F(DispatcherMillion, ABatchCostsNoMoreWhenAMillionPathsWait) {
  // Each ready path has cost two measurements, which is what limits their share here.
  makeThousandsReady(100);
  makeManyMeasured(900000);
  ASSERT_EQ(dispatcher.scannableCount() + dispatcher.lengthOfBothItemLists(), 1000000U);
  const Nanoseconds manyWait = timeOfABatch();
  std::vector<std::string> taken;
  while (dispatcher.scannableCount() > 2000) {
    dispatcher.copyFromDispatchToScanner(taken);
    taken.clear();
  }
  const Nanoseconds fewWait = timeOfABatch();
  // A batch whose cost grew with what waits would take fifty times as long.
  EXPECT_LT(manyWait, fewWait * 15);
}

}  // namespace
}  // namespace quillo
