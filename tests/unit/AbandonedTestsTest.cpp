#include <gtest/gtest.h>

#include "history/AbandonedTests.h"
#include "history/HistoryReader.h"
#include "history/HistoryStore.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

const std::string name = "vantrel-self-test-0123456789abcdef.com";

class AbandonedTestsTest : public testing::Test {
 protected:
  HistoryResult::Outcome entered(const std::string& path) {
    HistoryResult result;
    result.time = clock.wallTime();
    result.outcome = HistoryResult::Outcome::leftInPlace;
    result.path = path;
    result.says = "Eicar";
    store.write({{result}, {}});
    HistoryReader reader(folder.path());
    reader.open();
    return reader.rows(reader.select({}), 0, 1).at(0).outcome;
  }

  TemporaryFolder folder;
  ManualClock clock;
  FakeSystemLog log;
  HistoryStore store{folder.path(), clock, log, {}};
  AbandonedTests tests{folder.path()};
};

TEST_F(AbandonedTestsTest, HaveTheirFindEnteredAsTheirOwnHoweverLate) {
  EXPECT_EQ(tests.add("/link/" + name), "");
  EXPECT_EQ(entered("/real/" + name), HistoryResult::Outcome::selfTest);
}

TEST_F(AbandonedTestsTest, AreNotWhatOnlyBearsANameLikeTheirs) {
  EXPECT_EQ(entered("/a/" + name), HistoryResult::Outcome::leftInPlace);
  tests.add("/a/" + name);
  EXPECT_EQ(entered("/a/vantrel-self-test-0.com"), HistoryResult::Outcome::leftInPlace);
  EXPECT_EQ(entered("/a/" + name + ".exe"), HistoryResult::Outcome::leftInPlace);
}

TEST_F(AbandonedTestsTest, AreTheLatestOnly) {
  tests.add("/a/" + name);
  for (std::size_t other = 0; other < AbandonedTests::most; ++other) {
    EXPECT_TRUE(tests.have("/a/" + name));
    tests.add("/a/vantrel-self-test-" + std::to_string(other));
  }
  EXPECT_FALSE(tests.have("/a/" + name));
}

TEST_F(AbandonedTestsTest, AreOnlyFilesThatATestMade) {
  tests.add("/a/malware.exe");
  EXPECT_FALSE(tests.have("/a/malware.exe"));
  EXPECT_FALSE(TemporaryFolder::exists(folder.at("abandoned-tests")));
}

TEST_F(AbandonedTestsTest, AreNotReadThroughALink) {
  folder.link("abandoned-tests", folder.write("elsewhere", name + "\n"));
  EXPECT_FALSE(tests.have("/a/" + name));
}

}  // namespace
}  // namespace quillo
