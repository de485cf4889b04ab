#include <gtest/gtest.h>

#include "history/HistoryReader.h"
#include "history/HistoryWriter.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Threads.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

HistoryResult resultAt(const std::string& path) {
  HistoryResult result;
  result.time = SystemClock().wallTime();
  result.path = path;
  return result;
}

class HistoryThreadTest : public testing::Test {
 protected:
  const TemporaryFolder home;
  FakeSystemLog log;
};

TEST_F(HistoryThreadTest, LosesNothingThatSeveralThreadsHaveEntered) {
  SystemClock clock;
  HistoryWriter writer({clock, log, home.at("state"), home.path()});
  JoinedThreads threads;
  writer.begin(threads);
  {
    JoinedThreads scanners;
    for (int scanner = 0; scanner < 4; ++scanner) {
      scanners.start([&writer, scanner] {
        for (int at = 0; at < 500; ++at) {
          writer.add(resultAt("/srv/" + std::to_string(scanner) + "/" + std::to_string(at)));
          writer.addClean("/srv/clean");
        }
      });
    }
  }
  writer.end(longestWait);
  threads.join();
  HistoryReader reader(home.at("state"));
  EXPECT_EQ(reader.select({}).count(), 2000U);
  EXPECT_EQ(reader.busiestFolders(0, 5).at(0).amount.files, 2000U);
}

TEST_F(HistoryThreadTest, SleepsWhileNothingComesAndWakesForTheFirst) {
  ManualClock clock;
  HistoryWriter writer({clock, log, home.at("state"), home.path()});
  JoinedThreads threads;
  writer.begin(threads);
  ASSERT_TRUE(clock.waitUntilParked(1));
  EXPECT_FALSE(TemporaryFolder::exists(home.at("state")));
  writer.add(resultAt("/srv/a"));
  ASSERT_TRUE(clock.waitUntilParked(1));
  HistoryReader reader(home.at("state"));
  clock.advance(HistoryWriter::delay);
  EXPECT_TRUE(awaitThat([&reader] { return reader.select({}).count() == 1; }));
  writer.end(longestWait);
}

TEST_F(HistoryThreadTest, EntersAtTheEndWhatHasJustCome) {
  ManualClock clock;
  HistoryWriter writer({clock, log, home.at("state"), home.path()});
  JoinedThreads threads;
  writer.begin(threads);
  ASSERT_TRUE(clock.waitUntilParked(1));
  writer.add(resultAt("/srv/a"));
  writer.end(longestWait);
  // Nothing is left beside it: the end was orderly.
  EXPECT_FALSE(TemporaryFolder::exists(home.at("state/history.sqlite-wal")));
  EXPECT_EQ(HistoryReader(home.at("state")).select({}).count(), 1U);
}

}  // namespace
}  // namespace quillo
