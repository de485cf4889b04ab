#include <gtest/gtest.h>

#include <filesystem>

#include "companion/selftest/SelfTestView.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

struct Watching final : SelfTestEvidence {
  Facts facts() override {
    ++looks;
    return {agent, {folder}, 0, 0};
  }
  void abandon(const std::string&, std::int64_t) override {}
  std::optional<Find> findOf(const std::string&, std::int64_t) override {
    return looks < findsAfter ? std::nullopt : std::optional(Find{"Eicar", Done::leftInPlace, ""});
  }
  Agent agent = Agent::watching;
  std::string folder;
  int looks = 0;
  int findsAfter = 3;
};

class SelfTestViewTest : public testing::Test {
 protected:
  SelfTestViewTest() {
    clock.setSleepsPassAtOnce(true);
    evidence.folder = guarded.path();
  }
  bool isClean() const { return std::filesystem::is_empty(guarded.path()); }

  TemporaryFolder guarded;
  FakeApplication application;
  ManualClock clock;
  FakeLocalizedStrings strings;
  FakeThreads threads;
  Watching evidence;
  FakePage page{"help"};
  SelfTestServices services{application, clock,    strings,
                            threads,     evidence, [] { return std::vector<std::string>(); }};
};

TEST_F(SelfTestViewTest, SaysWhatWillHappenBeforeItIsBegun) {
  const SelfTestView view(page, services);
  EXPECT_EQ(page.text("testOutcome"), "<SELFTEST_BEFORE>");
  EXPECT_TRUE(page.isEnabled("testStart"));
  EXPECT_FALSE(page.isEnabled("testStop"));
  EXPECT_TRUE(isClean());
}

TEST_F(SelfTestViewTest, ShowsEachStepAndItsOutcome) {
  SelfTestView view(page, services);
  page.press("testStart");
  EXPECT_EQ(page.row("testSteps", 0).cells[1], "<SELFTEST_GOING>");
  EXPECT_FALSE(page.isEnabled("testStart"));
  threads.run("selfTest");
  EXPECT_EQ(page.text("testOutcome"), "<SELFTEST_END_WORKS>");
  ASSERT_EQ(page.rowCount("testSteps"), 5U);
  EXPECT_EQ(page.row("testSteps", 3).cells,
            (std::vector<std::string>{"<SELFTEST_STEP_FOUND>", "<SELFTEST_FOUND_IN_PLACE>"}));
  EXPECT_EQ(page.row("testSteps", 3).sign, TableRows::Sign::good);
  EXPECT_TRUE(page.isEnabled("testStart"));
  EXPECT_TRUE(isClean());
}

TEST_F(SelfTestViewTest, ShowsWhatFailed) {
  SelfTestView view(page, services);
  evidence.agent = SelfTestEvidence::Agent::stopped;
  view.start();
  threads.run("selfTest");
  EXPECT_EQ(page.text("testOutcome"), "<SELFTEST_END_FAILS>");
  EXPECT_EQ(page.row("testSteps", 0).sign, TableRows::Sign::warning);
}

TEST_F(SelfTestViewTest, OffersToStartAnAgentWhereNoneRuns) {
  int starts = 0;
  services.startAgent = [&] {
    ++starts;
    evidence.agent = SelfTestEvidence::Agent::watching;
    return true;
  };
  SelfTestView view(page, services);
  EXPECT_FALSE(page.isVisible("testStartAgent"));
  evidence.agent = SelfTestEvidence::Agent::absent;
  view.start();
  threads.run("selfTest");
  EXPECT_EQ(page.text("testOutcome"), "<SELFTEST_END_UNKNOWN>");
  ASSERT_TRUE(page.isVisible("testStartAgent"));
  page.press("testStartAgent");
  threads.run("selfTest");
  EXPECT_EQ(starts, 1);
  EXPECT_EQ(page.text("testOutcome"), "<SELFTEST_END_WORKS>");
  EXPECT_FALSE(page.isVisible("testStartAgent"));
}

TEST_F(SelfTestViewTest, SaysThatNoAgentCanBeStarted) {
  services.startAgent = [] { return false; };
  evidence.agent = SelfTestEvidence::Agent::absent;
  SelfTestView view(page, services);
  view.start();
  threads.run("selfTest");
  page.press("testStartAgent");
  EXPECT_EQ(page.text("testOutcome"), "<SELFTEST_CANNOT_START>");
}

TEST_F(SelfTestViewTest, IsBrokenOffAtOnceAndLeavesNothing) {
  application.keepsPosted = true;
  SelfTestView view(page, services);
  evidence.findsAfter = 1000;
  view.start();
  clock.setSleepsPassAtOnce(false);
  JoinedThreads beat([&] { threads.run("selfTest"); });
  ASSERT_TRUE(application.waitUntilPosted());
  application.performPosted();
  EXPECT_FALSE(isClean());
  page.press("testStop");
  EXPECT_EQ(page.text("testOutcome"), "<SELFTEST_END_UNKNOWN>");
  EXPECT_TRUE(isClean());
  clock.setSleepsPassAtOnce(true);
  clock.advance(SelfTest::pause);
  beat.join();
}

TEST_F(SelfTestViewTest, LeavesNothingWhenThePageGoes) {
  application.keepsPosted = true;
  {
    SelfTestView view(page, services);
    evidence.findsAfter = 1000;
    view.start();
    view.stop();
    view.start();
  }
  // What the thread still posts finds nobody.
  threads.run("selfTest");
  application.performPosted();
  EXPECT_TRUE(isClean());
}

TEST_F(SelfTestViewTest, SystemWithoutAThreadIsSaid) {
  NoThreads none;
  SelfTestView view(page, {application, clock, strings, none, evidence, services.moveFolders});
  view.start();
  EXPECT_EQ(page.text("testOutcome"), "<SELFTEST_END_UNKNOWN>");
}

}  // namespace
}  // namespace quillo
