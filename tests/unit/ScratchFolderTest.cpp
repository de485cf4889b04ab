#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "clamav/ClamConf.h"
#include "clamav/ScratchFolder.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

class ScratchFolderTest : public testing::Test {
 protected:
  // The time that every attempt to make a folder changes.
  fs::file_time_type changed() const { return fs::last_write_time(place); }
  void setBack() const { fs::last_write_time(place, fs::file_time_type{}); }

  TemporaryFolder files;
  const std::string place = files.makeFolder("scratch");
  ManualClock clock;
  ScratchFolder folder{place, ScratchFolder::Owner::us, clock};
  const std::string gone =
      "the engine can make no temporary files in " + place + ": No such file or directory";
};

TEST_F(ScratchFolderTest, IsUsableThatIsThere) { EXPECT_EQ(folder.problem(clock.now()), ""); }

TEST_F(ScratchFolderTest, IsNotUsableThatIsGone) {
  fs::remove(place);
  EXPECT_EQ(folder.problem(clock.now()), gone);
}

TEST_F(ScratchFolderTest, IsLookedAtAgainForEachLaterAnswer) {
  EXPECT_EQ(folder.problem(clock.now()), "");
  fs::remove(place);
  EXPECT_EQ(folder.problem(clock.now()), gone);
  fs::create_directory(place);
  EXPECT_EQ(folder.problem(clock.now()), "");
}

TEST_F(ScratchFolderTest, WasUsableForAnswersThatCameBeforeTheLook) {
  const Clock::Duration heard = clock.now();
  clock.advance(std::chrono::milliseconds(1));
  EXPECT_EQ(folder.problem(heard), "");
  fs::remove(place);
  EXPECT_EQ(folder.problem(heard), "");
}

TEST_F(ScratchFolderTest, IsTriedOutAtMostEveryTenthOfASecond) {
  folder.problem(clock.now());
  setBack();
  clock.advance(std::chrono::milliseconds(99));
  folder.problem(clock.now());
  EXPECT_EQ(changed(), fs::file_time_type{});
  clock.advance(std::chrono::milliseconds(1));
  folder.problem(clock.now());
  EXPECT_NE(changed(), fs::file_time_type{});
}

TEST_F(ScratchFolderTest, IsTriedOutAtOnceThatHasComeBack) {
  folder.problem(clock.now());
  fs::remove(place);
  folder.problem(clock.now());
  fs::create_directory(place);
  setBack();
  folder.problem(clock.now());
  EXPECT_NE(changed(), fs::file_time_type{});
}

TEST_F(ScratchFolderTest, IsLeftEmpty) {
  folder.problem(clock.now());
  EXPECT_TRUE(fs::is_empty(place));
}

TEST(ScratchFolderOf, ADaemonIsTheOneThatItsConfigurationNames) {
  EXPECT_EQ(ScratchFolder::of(ClamConf::parse("TemporaryDirectory /var/scratch")), "/var/scratch");
  EXPECT_EQ(ScratchFolder::of(ClamConf::parse("")), "/tmp");
}

}  // namespace
}  // namespace quillo
