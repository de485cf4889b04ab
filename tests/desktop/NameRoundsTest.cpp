#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>

#include "platform/linux/names/NameRounds.h"
#include "tests/support/ManualClock.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Gap = NameWatchObserver::Gap;
using Gaps = std::vector<std::pair<std::string, Gap>>;

class ReportedNames final : public NameWatchObserver {
 public:
  void namesAppeared(const std::vector<std::string>& paths) override {
    names.insert(names.end(), paths.begin(), paths.end());
  }
  void placeHasGap(const std::string& place, Gap gap) override { gaps.emplace_back(place, gap); }

  std::vector<std::string> names;
  Gaps gaps;
};

class NameRoundsTest : public testing::Test {
 protected:
  NameRoundsTest() { std::filesystem::create_directories(place); }
  // The first round, in which that system call fails.
  void beginWithout(int systemCall, int error) {
    withFailingSystemCall(systemCall, error, [this] {
      rounds = std::make_unique<NameRounds>(clock, std::vector<NamedPlace>{{place, true}}, reported,
                                            [](const std::string&) { return false; });
      rounds->round(false);
    });
  }
  void runOn() {
    while (rounds->round(false)) {
    }
  }
  bool reports(const std::string& name) {
    disk.write("place/" + name, "text");
    runOn();
    return std::find(reported.names.begin(), reported.names.end(), place + "/" + name) !=
           reported.names.end();
  }

  TemporaryFolder disk;
  const std::string place = disk.path() + "/place";
  ReportedNames reported;
  ManualClock clock;
  std::unique_ptr<NameRounds> rounds;
};

TEST_F(NameRoundsTest, ReportThatThereIsNoQueueAndTryAgain) {
  beginWithout(SYS_inotify_init1, EMFILE);
  EXPECT_EQ(reported.gaps, (Gaps{{place, Gap::noQueue}}));
  EXPECT_TRUE(rounds->isIncomplete());
  runOn();
  EXPECT_FALSE(rounds->isIncomplete());
  EXPECT_TRUE(reports("late"));
  EXPECT_EQ(reported.gaps.size(), 1U);
}

TEST_F(NameRoundsTest, ReportThatMountsCannotBeReadAndTryAgain) {
  beginWithout(SYS_lseek, EIO);
  EXPECT_EQ(reported.gaps, (Gaps{{place, Gap::mountsUnknown}}));
  EXPECT_TRUE(rounds->isIncomplete());
  runOn();
  EXPECT_FALSE(rounds->isIncomplete());
  EXPECT_TRUE(reports("late"));
}

TEST_F(NameRoundsTest, ReportThatMountsCannotBeOpenedAndTryAgain) {
  beginWithout(SYS_openat, EMFILE);
  EXPECT_EQ(reported.gaps, (Gaps{{place, Gap::mountsUnknown}}));
  runOn();
  EXPECT_TRUE(reports("late"));
}

}  // namespace
}  // namespace quillo
