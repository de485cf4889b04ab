// Lines of the helper through the watcher's filter, by the number of watched folders.

#include <memory>
#include <string>
#include <vector>

#include "benchmarks/parts/Gauges.h"
#include "tests/fakes/watching/FakeWatcherOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "watchers/FSEventWatcher.h"

namespace bench {
namespace {

using quillo::FSEventWatcher;

class CountingIntake final : public quillo::PathIntake {
 public:
  void addStringToItemList(const std::string& path) override { bytes += path.size(); }
  void addToItemList(std::vector<std::string>& paths) override { paths.clear(); }
  std::size_t bytes = 0;
};

// A watcher of so many folders that are there.
class WatcherOfMany {
 public:
  explicit WatcherOfMany(std::size_t folders) {
    for (std::size_t at = 0; at < folders; ++at) {
      folders_.push_back(
          top_.makeFolder("project of somebody " + std::to_string(at) + "/documents"));
      owner_.watch(folders_.back() + "/", true);
    }
  }
  FSEventWatcher& watcher() { return watcher_; }
  // Lines as the helper prints them, at most so many bytes together. Every second one lies in a
  // watched folder, not the same one twice in a row where there are several.
  std::string chunk(std::size_t most, std::size_t& lines) const {
    std::string text;
    for (lines = 0;; ++lines) {
      const std::string& folder = folders_[lines * 617 % folders_.size()];
      const std::string name = "/letters/of this year/letter " + std::to_string(lines) + ".odt\n";
      const std::string line = lines % 2 == 0 ? folder + name : "/home/anna/.cache/program" + name;
      if (text.size() + line.size() > most) {
        return text;
      }
      text += line;
    }
  }

 private:
  quillo::TemporaryFolder top_;
  std::vector<std::string> folders_;
  quillo::FakePlatform desktop_;
  quillo::ManualClock clock_;
  quillo::FakeWatcherOwner owner_;
  CountingIntake intake_;
  quillo::WatcherServices services_{desktop_.application,
                                    desktop_.authorization,
                                    desktop_.backgroundWork,
                                    clock_,
                                    desktop_.folders,
                                    desktop_.localizedStrings,
                                    desktop_.nameWatch,
                                    owner_,
                                    desktop_.preferences,
                                    desktop_.systemLog,
                                    owner_.threads,
                                    desktop_.trashFolders,
                                    intake_};
  FSEventWatcher watcher_{owner_, services_};
};

// Arguments: watched folders, and the bytes of a chunk.
void filterLines(benchmark::State& state) {
  WatcherOfMany many(static_cast<std::size_t>(state.range(0)));
  std::size_t lines = 0;
  const std::string chunk = many.chunk(static_cast<std::size_t>(state.range(1)), lines);
  for (auto step : state) {
    benchmark::DoNotOptimize(many.watcher().taskDataAvailable(chunk));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(lines));
}
// What the helper writes at once, and what the pipe holds in a storm.
BENCHMARK(filterLines)
    ->Name("filter")
    ->ArgNames({"folders", "chunk"})
    ->ArgsProduct({{1, 10, 100, 1000}, {4096, 65536}});

}  // namespace
}  // namespace bench
