#include <gtest/gtest.h>
#include <unistd.h>

#include <stdexcept>

#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Threads.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

using std::chrono::milliseconds;

TEST(Waiting, EndsWhenADescriptorCanBeReadOrHasEnded) {
  UniqueFd writer;
  const PipeReader reader = PipeReader::open(writer);
  EXPECT_FALSE(awaitReadable(reader.descriptor(), milliseconds(1)));
  JoinedThreads thread([&] { EXPECT_EQ(write(writer.get(), "x", 1), 1); });
  EXPECT_TRUE(awaitReadable(reader.descriptor()));
  thread.join();
  writer.reset();
  EXPECT_TRUE(awaitReadable(reader.descriptor()));
}

TEST(Waiting, TakesTheFirstLineOfAServerThatComesUp) {
  UniqueFd writer;
  PipeReader reader = PipeReader::open(writer);
  JoinedThreads thread([&] {
    EXPECT_EQ(write(writer.get(), "unix:", 5), 5);
    EXPECT_EQ(write(writer.get(), "path=/a\nmore", 12), 12);
  });
  EXPECT_EQ(awaitLine(reader), "unix:path=/a");
}

TEST(Waiting, ThrowsWhenAServerEndsWithoutALine) {
  UniqueFd writer;
  PipeReader reader = PipeReader::open(writer);
  EXPECT_EQ(write(writer.get(), "half", 4), 4);
  writer.reset();
  EXPECT_THROW(awaitLine(reader), std::runtime_error);
}

TEST(Waiting, LooksAtOnceAndGivesUpAtTheLimit) {
  int looks = 0;
  EXPECT_TRUE(awaitThat([&] { return ++looks == 1; }, milliseconds(0)));
  EXPECT_FALSE(awaitThat([] { return false; }, milliseconds(1)));
  EXPECT_TRUE(awaitThat([&] { return ++looks == 4; }));
}

TEST(Waiting, SeesWhateverIsWrittenIntoAFolderFromTheWatchOn) {
  const TemporaryFolder folder;
  const FolderWatch watch(folder.path());
  JoinedThreads thread([&] {
    for (const char* name : {"a", "b", "c"}) {
      folder.write(name);
    }
  });
  EXPECT_TRUE(watch.awaitThat([&] { return TemporaryFolder::exists(folder.at("c")); }));
  thread.join();
  EXPECT_FALSE(watch.awaitThat([] { return false; }, milliseconds(1)));
  EXPECT_THROW(FolderWatch(folder.at("none")), std::runtime_error);
}

TEST(Waiting, EndsWhenAThreadIsParkedAndAConditionHolds) {
  ManualClock clock;
  std::atomic<int> rounds = 0;
  LoopThread loop([&] {
    clock.sleepFor(std::chrono::seconds(1));
    ++rounds;
  });
  EXPECT_TRUE(clock.waitUntilSleeping());
  clock.advance(std::chrono::seconds(1));
  EXPECT_TRUE(clock.waitUntilParkedAnd([&] { return rounds == 1; }));
  EXPECT_TRUE(clock.waitUntilSleeping());
  loop.stop([&] { clock.advance(std::chrono::seconds(1)); });
}

}  // namespace
}  // namespace quillo
