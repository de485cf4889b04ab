#include <gtest/gtest.h>

#include <set>

#include "companion/Counting.h"
#include "companion/definitions/DefinitionUpdate.h"
#include "companion/overview/OverviewPage.h"
#include "companion/overview/RecentCounts.h"
#include "posix/Version.h"
#include "tests/fakes/desktop/FakeAgentLink.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/LaterThreads.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class FakeCounts final : public RecentCounts {
 public:
  Counts countsSince(std::chrono::system_clock::time_point since) override {
    asked = since;
    ++questions;
    return counts;
  }
  Counts counts;
  std::chrono::system_clock::time_point asked;
  int questions = 0;
};

// A thread is over before anybody looks, unless the test keeps it.
class QuickThreads final : public ThreadStarter {
 public:
  void detachNewThread(const std::string& name, std::function<void()> body) override {
    keeps ? kept.detachNewThread(name, std::move(body)) : body();
  }
  bool keeps = false;
  LaterThreads kept;
};

class OverviewPageTest : public testing::Test {
 protected:
  OverviewPageTest() {
    for (const char* key :
         {"GUARD_GUARDED_MANY", "OVERVIEW_FOUND_MANY", "OVERVIEW_NOT_SCANNED_MANY",
          "OVERVIEW_SCANNING_MANY", "OVERVIEW_HISTORY_UNREADABLE", "OVERVIEW_HISTORY_NOT_KEPT"}) {
      desktop.localizedStrings.texts[key] = std::string(key) + " %@";
    }
    counts.counts.begins = clock.wallTime() - 2 * recently;
    agent.become(watching());
  }
  static AgentStatus watching() { return FakeAgentLink::watching(projectVersion); }
  void become(const std::function<void(AgentStatus&)>& change) {
    AgentStatus status = watching();
    change(status);
    agent.become(status);
  }
  FakePage& page() { return window.pages["overview"]; }
  std::string text(const std::string& widget) { return page().text(widget); }

  FakePlatform desktop;
  FakeThreads threads;
  PassingClock clock;
  FakeAgentLink agent;
  FakeCounts counts;
  QuickThreads counting;
  FakeMainWindow window;
  int setUps = 0;
  Wording setUpProblem;
  DefinitionUpdate update{{desktop.application, threads, desktop.preferences}};
  OverviewPage overview{
      window.page("overview"),
      window,
      {agent, clock, update, desktop.localizedStrings, desktop.distributedNotificationCenter,
       desktop.preferences, counts, desktop.application, counting, [this] {
         ++setUps;
         return setUpProblem;
       }}};
};

TEST_F(OverviewPageTest, SaysInOneSentenceAndOneSignThatFoldersAreGuarded) {
  EXPECT_EQ(text("sentence"), "GUARD_GUARDED_MANY 2");
  EXPECT_EQ(page().image("signPicture"), "guard_good");
  EXPECT_EQ(text("signText"), "<OVERVIEW_SIGN_GUARDED>");
  EXPECT_FALSE(page().isVisible("mendButton"));
  EXPECT_FALSE(page().isVisible("reason"));
}

TEST_F(OverviewPageTest, HasAnotherPictureAndWordForEverySign) {
  std::set<std::string> pictures;
  std::set<std::string> words;
  const auto look = [&] {
    pictures.insert(page().image("signPicture"));
    words.insert(text("signText"));
  };
  look();
  become([](AgentStatus& status) { status.filesBeingScanned = 2; });
  look();
  become([](AgentStatus& status) { status.attention = "gaps"; });
  look();
  become([](AgentStatus& status) { status.version = 2; });
  look();
  agent.become(std::nullopt);
  look();
  EXPECT_EQ(pictures.size(), 5U);
  EXPECT_EQ(words.size(), 5U);
}

TEST_F(OverviewPageTest, FollowsTheAgent) {
  become([](AgentStatus& status) { status.filesBeingScanned = 12; });
  EXPECT_EQ(text("scanningText"), "OVERVIEW_SCANNING_MANY 12");
  agent.become(std::nullopt);
  EXPECT_EQ(text("sentence"), "<GUARD_NOT_GUARDED>");
  EXPECT_EQ(text("scanningText"), "<OVERVIEW_SCANNING_NONE>");
}

TEST_F(OverviewPageTest, DoesNotOfferToStartAnAgentBeforeItKnowsThatNoneRuns) {
  agent.withoutStatus = AgentPresence::unknown;
  agent.become(std::nullopt);
  EXPECT_EQ(text("sentence"), "<GUARD_UNKNOWN>");
  EXPECT_FALSE(page().isVisible("mendButton"));
}

TEST_F(OverviewPageTest, DoesNotStartASecondAgentWhileTheFirstIsSilent) {
  become([](AgentStatus& status) { status.program = "0.0.1"; });
  page().press("mendButton");
  agent.withoutStatus = AgentPresence::silent;
  agent.become(std::nullopt);
  EXPECT_EQ(agent.starts, 0);
}

TEST_F(OverviewPageTest, StartsTheAgentByItsButton) {
  agent.become(std::nullopt);
  EXPECT_EQ(text("mendButton"), "<OVERVIEW_MEND_START_AGENT>");
  page().press("mendButton");
  EXPECT_EQ(agent.starts, 1);
}

TEST_F(OverviewPageTest, SaysThatTheAgentIsBeingStartedAndDoesNotStartItTwice) {
  agent.become(std::nullopt);
  agent.startBecomes({true, {}});
  EXPECT_EQ(text("reason"), "<OVERVIEW_STARTS>");
  EXPECT_FALSE(page().isEnabled("mendButton"));
  agent.startBecomes({});
  agent.become(watching());
  EXPECT_TRUE(page().isEnabled("mendButton"));
  EXPECT_FALSE(page().isVisible("reason"));
}

TEST_F(OverviewPageTest, SaysWhyTheAgentDidNotStart) {
  desktop.localizedStrings.texts["OVERVIEW_START_FAILED"] = "failed: %@";
  agent.become(std::nullopt);
  agent.startBecomes({true, {}});
  agent.startBecomes({false, {"", {"no memory"}}});
  EXPECT_EQ(text("reason"), "failed: no memory");
  EXPECT_TRUE(page().isEnabled("mendButton"));
}

TEST_F(OverviewPageTest, SaysThatTheAgentCannotBeStarted) {
  agent.become(std::nullopt);
  agent.canStart = false;
  page().press("mendButton");
  EXPECT_EQ(text("reason"), "<OVERVIEW_CANNOT_START>");
}

TEST_F(OverviewPageTest, HasWatchingStartedByItsButton) {
  become([](AgentStatus& status) { status.state = "stopped"; });
  page().press("mendButton");
  EXPECT_EQ(desktop.distributedNotificationCenter.posted.back(),
            (std::pair<std::string, std::string>{"VantrelQuilloShouldRestart", "Vantrel"}));
}

TEST_F(OverviewPageTest, RestartsAnAgentOfAnotherVersionOnceItHasGone) {
  become([](AgentStatus& status) { status.program = "0.0.1"; });
  page().press("mendButton");
  EXPECT_EQ(desktop.distributedNotificationCenter.posted.back().first, "VantrelQuilloShouldQuit");
  EXPECT_EQ(agent.starts, 0);
  become([](AgentStatus& status) { status.state = "quitting"; });
  EXPECT_EQ(agent.starts, 0);
  agent.become(std::nullopt);
  EXPECT_EQ(agent.starts, 1);
  agent.become(watching());
  agent.become(std::nullopt);
  EXPECT_EQ(agent.starts, 1);
}

TEST_F(OverviewPageTest, LeadsToThePageThatMends) {
  become([](AgentStatus& status) { status.attention = "noPreferences"; });
  page().press("mendButton");
  EXPECT_EQ(window.shownPage(), "start");
  become([](AgentStatus& status) { status.watchedFolders.clear(); });
  page().press("mendButton");
  EXPECT_EQ(window.shownPage(), "folders");
}

TEST_F(OverviewPageTest, SetsUpAnEngineWhereThereIsNone) {
  become([](AgentStatus& status) { status.attention = "noEngine"; });
  setUpProblem = {"START_NO_ENGINE"};
  page().press("mendButton");
  EXPECT_EQ(setUps, 1);
  EXPECT_EQ(text("reason"), "<START_NO_ENGINE>");
  EXPECT_TRUE(page().isEnabled("mendButton"));
  setUpProblem = {};
  page().press("mendButton");
  EXPECT_EQ(text("reason"), "<GUARD_NO_ENGINE>");
}

TEST_F(OverviewPageTest, SaysWhatBecameOfAnUpdateThatCannotBegin) {
  page().press("updateButton");
  EXPECT_EQ(text("updateText"), "<OVERVIEW_UPDATE_NO_ENGINE>");
  EXPECT_TRUE(page().isEnabled("updateButton"));
  EXPECT_FALSE(page().isVisible("updateProgress"));
}

TEST_F(OverviewPageTest, AsksBeforeItEndsADownloadWithTheWindow) {
  window.close();
  EXPECT_EQ(window.closings, 1);
  const TemporaryFolder engine;
  engine.writeProgram("bin/freshclam", "#!/bin/sh\n");
  desktop.preferenceStore.set("PathToClamav", engine.path());
  page().press("updateButton");
  window.close();
  window.close();
  EXPECT_EQ(window.questions.size(), 1U);
  window.answer("<OVERVIEW_CLOSE_STAY>");
  EXPECT_EQ(window.closings, 1);
  window.close();
  window.answer("<OVERVIEW_CLOSE_STOP>");
  EXPECT_EQ(window.closings, 2);
}

TEST_F(OverviewPageTest, LeavesWhatElseGoesOnItsOwnQuestion) {
  const TemporaryFolder engine;
  engine.writeProgram("bin/freshclam", "#!/bin/sh\n");
  desktop.preferenceStore.set("PathToClamav", engine.path());
  page().press("updateButton");
  bool mayScanEnd = false;
  window.onClose([&mayScanEnd] { return mayScanEnd; });
  window.close();
  window.answer("<OVERVIEW_CLOSE_STOP>");
  EXPECT_EQ(window.closings, 0);
  mayScanEnd = true;
  window.close();
  EXPECT_EQ(window.closings, 1);
  EXPECT_EQ(window.questions.size(), 1U);
}

TEST_F(OverviewPageTest, ShowsAnUpdateOfTheAgents) {
  become([](AgentStatus& status) { status.updating = true; });
  EXPECT_EQ(text("updateText"), "<OVERVIEW_UPDATE_RUNS>");
  EXPECT_FALSE(page().isEnabled("updateButton"));
  EXPECT_TRUE(page().isVisible("updateProgress"));
  agent.become(watching());
  EXPECT_TRUE(page().isEnabled("updateButton"));
  EXPECT_FALSE(page().isVisible("updateText"));
}

TEST_F(OverviewPageTest, CountsWhatWasFoundInThirtyDays) {
  counts.counts = {1234, 56, "", counts.counts.begins};
  desktop.localizedStrings.texts["DIGITS_SEPARATOR"] = ",";
  overview.refresh();
  EXPECT_EQ(text("foundText"), "OVERVIEW_FOUND_MANY 1,234");
  EXPECT_EQ(text("notScannedText"), "OVERVIEW_NOT_SCANNED_MANY 56");
  EXPECT_EQ(clock.wallTime() - counts.asked, std::chrono::hours(30 * 24));
}

TEST_F(OverviewPageTest, CountsAnewOnlyWhenTheAgentSaysThatTheHistoryHasNews) {
  const int before = counts.questions;
  for (std::uint64_t files = 1; files < 10; ++files) {
    become([&](AgentStatus& status) { status.filesBeingScanned = files; });
  }
  EXPECT_EQ(counts.questions, before);
  counts.counts.found = 8;
  become([](AgentStatus& status) { status.verdicts = 1; });
  EXPECT_EQ(text("foundText"), "OVERVIEW_FOUND_MANY 8");
}

TEST_F(OverviewPageTest, DoesNotWaitForALongHistoryToBeCounted) {
  counting.keeps = true;
  counts.counts.found = 8;
  FakeMainWindow other;
  const OverviewPage late(
      other.page("overview"), other,
      {agent, clock, update, desktop.localizedStrings, desktop.distributedNotificationCenter,
       desktop.preferences, counts, desktop.application, counting, [] { return Wording(); }});
  FakePage& shown = other.pages["overview"];
  EXPECT_EQ(shown.text("sentence"), "GUARD_GUARDED_MANY 2");
  EXPECT_EQ(shown.text("foundText"), "<OVERVIEW_COUNTING>");
  EXPECT_FALSE(shown.isVisible("notScannedText"));
  counting.kept.runAll();
  EXPECT_EQ(shown.text("foundText"), "OVERVIEW_FOUND_MANY 8");
}

TEST_F(OverviewPageTest, SaysThatTheHistoryCannotBeReadOrIsNotKept) {
  counts.counts.problem = "the disk is broken";
  become([](AgentStatus& status) { status.historyProblem = "the disk is full"; });
  EXPECT_EQ(text("foundText"), "OVERVIEW_HISTORY_UNREADABLE the disk is broken");
  EXPECT_FALSE(page().isVisible("notScannedText"));
  EXPECT_EQ(text("historyText"), "OVERVIEW_HISTORY_NOT_KEPT the disk is full");
}

TEST_F(OverviewPageTest, LeadsToTheResults) {
  page().press("resultsButton");
  EXPECT_EQ(window.shownPage(), "results");
}

TEST_F(OverviewPageTest, CountsAnewWhenItComesToBeSeen) {
  counts.counts.found = 7;
  window.show("overview");
  EXPECT_EQ(text("foundText"), "OVERVIEW_FOUND_MANY 7");
}

TEST_F(OverviewPageTest, SaysThatNothingWasFoundOnlyForAsLongAsThereIsAHistory) {
  desktop.localizedStrings.texts["OVERVIEW_FOUND_NONE_SINCE"] = "none since %@";
  overview.refresh();
  EXPECT_EQ(text("foundText"), "<OVERVIEW_FOUND_NONE>");
  counts.counts.begins = clock.wallTime() - recently / 2;
  overview.refresh();
  EXPECT_EQ(text("foundText"), "none since " + dayText(clock.wallTime() - recently / 2));
  EXPECT_EQ(text("notScannedText"), "<OVERVIEW_NOT_SCANNED_NONE>");
  counts.counts.found = 2;
  overview.refresh();
  EXPECT_EQ(text("foundText"), "OVERVIEW_FOUND_MANY 2");
}

TEST_F(OverviewPageTest, SaysWhereThereIsNoHistoryThatThereIsNone) {
  counts.counts.begins.reset();
  overview.refresh();
  EXPECT_EQ(text("foundText"), "<OVERVIEW_NO_HISTORY>");
  EXPECT_FALSE(page().isVisible("notScannedText"));
}

}  // namespace
}  // namespace quillo
