#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

#include "companion/overview/LaterCounts.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/support/LaterThreads.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

using Moment = std::chrono::system_clock::time_point;

Moment at(int seconds) { return Moment(std::chrono::seconds(seconds)); }

class KeptQuestions final : public RecentCounts {
 public:
  Counts countsSince(Moment since) override {
    asked.push_back(since);
    if (!failure.empty()) {
      throw std::runtime_error(failure);
    }
    Counts counts;
    counts.found = asked.size();
    return counts;
  }
  std::vector<Moment> asked;
  std::string failure;
};

class LaterCountsTest : public testing::Test {
 protected:
  std::unique_ptr<LaterCounts> make(ThreadStarter& starter) {
    return std::make_unique<LaterCounts>(
        counts, application, starter,
        [this](const RecentCounts::Counts& outcome) { outcomes.push_back(outcome); });
  }

  KeptQuestions counts;
  FakeApplication application;
  LaterThreads threads;
  std::vector<RecentCounts::Counts> outcomes;
  std::unique_ptr<LaterCounts> later = make(threads);
};

TEST_F(LaterCountsTest, AreCountedElsewhere) {
  later->begin(at(1));
  EXPECT_TRUE(counts.asked.empty());
  threads.runAll();
  ASSERT_EQ(outcomes.size(), 1U);
  EXPECT_EQ(outcomes[0].found, 1U);
}

TEST_F(LaterCountsTest, AreCountedOnceMoreForAllThatIsAskedMeanwhile) {
  later->begin(at(1));
  later->begin(at(2));
  later->begin(at(3));
  EXPECT_EQ(threads.bodies.size(), 1U);
  threads.runAll();
  threads.runAll();
  EXPECT_EQ(counts.asked, (std::vector{at(1), at(3)}));
  EXPECT_EQ(outcomes.size(), 2U);
  EXPECT_TRUE(threads.bodies.empty());
}

TEST_F(LaterCountsTest, AreToldToNobodyWhoIsGone) {
  later->begin(at(1));
  later.reset();
  threads.runAll();
  EXPECT_TRUE(outcomes.empty());
}

TEST_F(LaterCountsTest, AreCountedHereWhereTheSystemHasNoThread) {
  NoThreads none;
  const auto here = make(none);
  here->begin(at(1));
  here->begin(at(2));
  EXPECT_EQ(outcomes.size(), 2U);
}

TEST_F(LaterCountsTest, SayWhatWentWrong) {
  counts.failure = "no memory";
  later->begin(at(1));
  threads.runAll();
  ASSERT_EQ(outcomes.size(), 1U);
  EXPECT_EQ(outcomes[0].problem, "no memory");
}

}  // namespace
}  // namespace quillo
