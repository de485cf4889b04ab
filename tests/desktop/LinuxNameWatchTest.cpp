#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <set>

#include "platform/linux/names/LinuxNameWatch.h"
#include "platform/linux/names/NamePlan.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

class Names final : public NameWatchObserver {
 public:
  void namesAppeared(const std::vector<std::string>& paths) override {
    std::lock_guard hold(mutex_);
    reported_.insert(paths.begin(), paths.end());
    changed_.notify_all();
  }
  void placeHasGap(const std::string& place, Gap gap) override {
    std::lock_guard hold(mutex_);
    reported_.insert((gap == Gap::networkDrive ? "network: " : "too many: ") + place);
    changed_.notify_all();
  }
  // False at the deadline.
  bool wait(const std::string& text, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    std::unique_lock hold(mutex_);
    return changed_.wait_for(hold, limit, [&] { return reported_.count(text) != 0; });
  }
  bool has(const std::string& text) { return wait(text, std::chrono::milliseconds(0)); }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::set<std::string> reported_;
};

class LinuxNameWatchTest : public testing::Test {
 protected:
  std::string at(const std::string& name) const { return disk.path() + "/" + name; }
  // Makes files there until one is reported: what was reported before has come by then.
  bool isWatched(const std::string& folder) {
    for (int number = 0; number < 200; ++number) {
      const std::string name = folder + "/sentinel-" + std::to_string(++sentinels);
      disk.write(name, "text");
      if (names.wait(at(name), std::chrono::milliseconds(50))) {
        return true;
      }
    }
    return false;
  }
  void turn(const std::string& target) {
    fs::remove(at("link"));
    fs::create_directory_symlink(target, at("link"));
  }

  int sentinels = 0;
  TemporaryFolder disk;
  Names names;
  std::vector<std::string> reports;
  ManualClock clock;
  LinuxNameWatch watch{clock, [this](const std::string& text) { reports.push_back(text); },
                       [](const std::string&) { return false; }};
};

TEST_F(LinuxNameWatchTest, ReportsWhatAppearsUntilItIsStopped) {
  fs::create_directories(at("place/sub"));
  disk.write("file", "text");
  watch.start({{at("place/"), true}}, names);
  ASSERT_TRUE(isWatched("place/sub"));
  fs::rename(at("file"), at("place/sub/file"));
  EXPECT_TRUE(names.wait(at("place/sub/file")));
  watch.stop();
  watch.start({{at("other/"), true}}, names);
  fs::create_directories(at("other"));
  EXPECT_TRUE(isWatched("other"));
  disk.write("place/late", "text");
  EXPECT_TRUE(isWatched("other"));
  EXPECT_FALSE(names.has(at("place/late")));
}

TEST_F(LinuxNameWatchTest, FollowsALinkThatIsTurnedElsewhere) {
  fs::create_directories(at("one"));
  fs::create_directories(at("two"));
  turn("one");
  watch.start({{at("link/"), true}}, names);
  ASSERT_TRUE(isWatched("one"));
  turn("two");
  ASSERT_TRUE(isWatched("two"));
  disk.write("one/late", "text");
  ASSERT_TRUE(isWatched("two"));
  EXPECT_FALSE(names.has(at("one/late")));
}

TEST_F(LinuxNameWatchTest, WatchesAPlaceThatWasAwayAndReportsWhatCameWithIt) {
  fs::create_directories(at("place"));
  disk.write("elsewhere/sub/file", "text");
  clock.advance(std::chrono::hours(24 * 365 * 100));
  watch.start({{at("place/"), true}}, names);
  ASSERT_TRUE(isWatched("place"));
  fs::remove_all(at("place"));
  fs::rename(at("elsewhere"), at("place"));
  EXPECT_TRUE(names.wait(at("place/sub/file")));
  EXPECT_TRUE(isWatched("place/sub"));
}

TEST_F(LinuxNameWatchTest, SleepsWhereTheHelperHearsOfEveryName) {
  LinuxNameWatch idle(
      clock, [](const std::string&) {}, [](const std::string&) { return true; });
  fs::create_directories(at("place"));
  idle.start({{at("place/"), true}}, names);
  watch.start({{at("place/"), true}}, names);
  EXPECT_TRUE(isWatched("place"));
  EXPECT_TRUE(reports.empty());
}

TEST_F(LinuxNameWatchTest, MayBeStartedAndStoppedManyTimes) {
  fs::create_directories(at("place"));
  for (int round = 0; round < 50; ++round) {
    watch.start({{at("place/"), true}}, names);
    watch.stop();
  }
  watch.start({{at("place/"), true}}, names);
  EXPECT_TRUE(isWatched("place"));
  EXPECT_TRUE(reports.empty());
}

TEST(FileHandles, AreToBeHadOnThisMachinesOwnFileSystemsButNotInProc) {
  EXPECT_TRUE(hasFileHandles("/tmp"));
  EXPECT_FALSE(hasFileHandles("/proc"));
}

}  // namespace
}  // namespace quillo
