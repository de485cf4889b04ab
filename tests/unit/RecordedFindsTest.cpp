#include <gtest/gtest.h>

#include "companion/selftest/RecordedFinds.h"
#include "history/HistoryStore.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Done = SelfTestEvidence::Done;
using Outcome = HistoryResult::Outcome;

class RecordedFindsTest : public testing::Test {
 protected:
  void keep(const std::string& path, Outcome outcome, const std::string& detail = "") {
    HistoryResult result;
    result.time = clock.wallTime();
    result.outcome = outcome;
    result.path = path;
    result.says = "Eicar";
    result.detail = detail;
    store.write({{result}, {}});
  }
  std::optional<SelfTestEvidence::Find> find(const std::string& path) {
    return finds.findOf(path, now);
  }

  TemporaryFolder folder;
  ManualClock clock;
  FakeSystemLog log;
  HistoryStore store{folder.path(), clock, log, {}};
  std::vector<LaterOutcome> marks;
  RecordedFinds finds{folder.path(),
                      [this](const LaterOutcome& outcome) { marks.push_back(outcome); }};
  const std::int64_t now = std::chrono::system_clock::to_time_t(clock.wallTime());
};

TEST_F(RecordedFindsTest, AreNoneBeforeThereIsAHistory) { EXPECT_FALSE(find("/srv/test.com")); }

TEST_F(RecordedFindsTest, SayWhatBecameOfTheFile) {
  keep("/srv/left.com", Outcome::leftInPlace);
  keep("/srv/moved.com", Outcome::quarantined, "/q/moved.com");
  keep("/srv/trashed.com", Outcome::trashed, "/t/files/trashed.com");
  ASSERT_TRUE(find("/srv/left.com"));
  EXPECT_EQ(find("/srv/left.com")->threat, "Eicar");
  EXPECT_EQ(find("/srv/left.com")->done, Done::leftInPlace);
  EXPECT_EQ(find("/srv/moved.com")->done, Done::quarantined);
  EXPECT_EQ(find("/srv/moved.com")->destination, "/q/moved.com");
  EXPECT_EQ(find("/srv/trashed.com")->done, Done::trashed);
}

TEST_F(RecordedFindsTest, AreKnownByTheNameOnWhateverWay) {
  keep("/real/srv/test.com", Outcome::leftInPlace);
  EXPECT_TRUE(find("/link/test.com"));
  EXPECT_FALSE(find("/real/srv/est.com"));
}

TEST_F(RecordedFindsTest, AreNoneWhileNobodyHasSaidWhatBecameOfTheFile) {
  keep("/srv/test.com", Outcome::unsaid);
  EXPECT_FALSE(find("/srv/test.com"));
}

TEST_F(RecordedFindsTest, AreNoneFromBefore) {
  keep("/srv/test.com", Outcome::leftInPlace);
  EXPECT_FALSE(finds.findOf("/srv/test.com", now + 60));
}

TEST_F(RecordedFindsTest, AreMarkedAsThoseOfATestUnderThePathThatTheyHave) {
  keep("/real/srv/test.com", Outcome::unsaid);
  EXPECT_FALSE(find("/link/test.com"));
  EXPECT_TRUE(marks.empty());
  keep("/real/srv/test.com", Outcome::trashed, "/t/files/test.com");
  EXPECT_TRUE(find("/link/test.com"));
  ASSERT_EQ(marks.size(), 1U);
  EXPECT_EQ(marks[0].path, "/real/srv/test.com");
  EXPECT_EQ(marks[0].outcome, Outcome::selfTest);
}

TEST_F(RecordedFindsTest, OfATestThatIsAbandonedAreItsOwnWhateverIsSaidOfThem) {
  const std::string name = "vantrel-self-test-0123456789abcdef.com";
  keep("/real/" + name, Outcome::unsaid);
  finds.abandon("/link/" + name, now);
  ASSERT_EQ(marks.size(), 2U);
  EXPECT_EQ(marks[0].path, "/real/" + name);
  EXPECT_EQ(marks[0].outcome, Outcome::selfTest);
  EXPECT_TRUE(AbandonedTests(folder.path()).have("/elsewhere/" + name));
}

TEST_F(RecordedFindsTest, ThatAreJustBeingEnteredAreMarkedByTheWayThatTheAgentKnows) {
  folder.makeFolder("real");
  folder.link("link", folder.at("real"));
  const std::string name = "vantrel-self-test-0123456789abcdef.com";
  finds.abandon(folder.at("link/" + name), now);
  ASSERT_EQ(marks.size(), 1U);
  EXPECT_EQ(marks[0].path, folder.at("real/" + name));
}

}  // namespace
}  // namespace quillo
