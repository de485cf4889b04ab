#include <gtest/gtest.h>

#include "menu/StatusText.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

using std::chrono::milliseconds;
using Texts = std::vector<std::string>;

class StatusTextTest : public testing::Test {
 protected:
  StatusTextTest() {
    strings.texts = {{"STATUS_WATCHING", "Watching %@ folders"},
                     {"STATUS_WATCHING_ONE", "Watching 1 folder"},
                     {"STATUS_SCANNING", "Scanning %@ files"},
                     {"STATUS_SCANNING_ONE", "Scanning 1 file"},
                     {"STATUS_UPDATING", "Updating definitions"},
                     {"STATUS_NO_ENGINE", "No engine"},
                     {"STATUS_IDLE", "Not watching"},
                     {"STATUS_HELPER_FAILS", "The helper does not run"},
                     {"WAIT", "Please wait"},
                     {"DIGITS_SEPARATOR", ","},
                     {"DIGITS_GROUPED_FROM", "1000"}};
  }
  StatusFacts scanning(std::size_t files) {
    StatusFacts scan;
    scan.busy = true;
    scan.watching = true;
    scan.watchedFolders = 2;
    scan.filesBeingScanned = files;
    return scan;
  }

  FakeLocalizedStrings strings;
  ManualClock clock;
  StatusFacts facts;
  int asked = 0;
  Texts shown;
  StatusText text{strings, clock,
                  [this] {
                    ++asked;
                    return facts;
                  },
                  [this](const StatusLine& line) { shown.push_back(line.words); }};
};

TEST_F(StatusTextTest, SaysEachState) {
  EXPECT_EQ(text.wordsFor({}), "Not watching");
  StatusFacts state;
  state.watching = true;
  state.watchedFolders = 1;
  EXPECT_EQ(text.wordsFor(state), "Watching 1 folder");
  state.watchedFolders = 3;
  EXPECT_EQ(text.wordsFor(state), "Watching 3 folders");
  state.busy = true;
  EXPECT_EQ(text.wordsFor(state), "Watching 3 folders");
  state.filesBeingScanned = 1;
  EXPECT_EQ(text.wordsFor(state), "Scanning 1 file");
  state.filesBeingScanned = 1204;
  EXPECT_EQ(text.wordsFor(state), "Scanning 1,204 files");
  state.updating = true;
  EXPECT_EQ(text.wordsFor(state), "Updating definitions");
  state.settingUp = true;
  EXPECT_EQ(text.wordsFor(state), "Please wait");
  state.engineMissing = true;
  EXPECT_EQ(text.wordsFor(state), "No engine");
}

TEST_F(StatusTextTest, DoesNotClaimToWatchWhenEveryFolderIsMissing) {
  StatusFacts state;
  state.watching = true;
  EXPECT_EQ(text.wordsFor(state), "Not watching");
}

TEST_F(StatusTextTest, DoesNotClaimToWatchWhileTheHelperCannotRun) {
  StatusFacts state;
  state.helperFails = true;
  EXPECT_EQ(text.wordsFor(state), "Not watching");
  state.watching = true;
  state.watchedFolders = 2;
  EXPECT_EQ(text.wordsFor(state), "The helper does not run");
}

TEST_F(StatusTextTest, SaysThatNotEveryPlaceIsWatchedCompletely) {
  strings.texts["STATUS_PARTLY"] = "%@, not all of them";
  StatusFacts state;
  state.watching = true;
  state.watchedFolders = 2;
  state.placesWithGaps = 1;
  EXPECT_EQ(text.wordsFor(state), "Watching 2 folders, not all of them");
}

TEST_F(StatusTextTest, PassesOverFilesThatAreScannedWithoutAnAnimation) {
  StatusFacts state = scanning(5);
  state.busy = false;
  EXPECT_EQ(text.wordsFor(state), "Watching 2 folders");
}

TEST_F(StatusTextTest, ShowsOnlyWhatHasChanged) {
  text.show();
  text.show();
  EXPECT_EQ(shown, Texts{"Not watching"});
  facts.watching = true;
  facts.watchedFolders = 1;
  text.show();
  EXPECT_EQ(shown, (Texts{"Not watching", "Watching 1 folder"}));
}

TEST_F(StatusTextTest, ShowsAChangingCountTwiceASecondAtMost) {
  for (std::size_t frame = 0; frame < 20; ++frame) {
    facts = scanning(100 + frame);
    text.showCount();
    clock.advance(milliseconds(100));
  }
  EXPECT_EQ(shown, (Texts{"Scanning 100 files", "Scanning 105 files", "Scanning 110 files",
                          "Scanning 115 files"}));
  EXPECT_EQ(asked, 4);
}

TEST_F(StatusTextTest, ShowsAnotherStateAtOnceHoweverSoonItComes) {
  facts = scanning(7);
  text.showCount();
  facts = {};
  text.show();
  EXPECT_EQ(shown, (Texts{"Scanning 7 files", "Not watching"}));
}

TEST_F(StatusTextTest, PassesOverTheMomentBetweenTwoRunsOfTheEngine) {
  facts = scanning(7);
  text.showCount();
  clock.advance(StatusText::shortestBetweenCounts);
  facts = scanning(0);
  text.showCount();
  clock.advance(milliseconds(100));
  facts = scanning(8);
  text.showCount();
  EXPECT_EQ(shown, (Texts{"Scanning 7 files", "Scanning 8 files"}));
}

TEST_F(StatusTextTest, ShowsAnUpdateThatOutlivesTheScan) {
  facts = scanning(0);
  facts.updating = true;
  text.showCount();
  EXPECT_EQ(shown, Texts{"Updating definitions"});
}

TEST(GroupedDigits, AreSeparatedFromTheLeastNumberOn) {
  EXPECT_EQ(groupedDigits(0, ",", 1000), "0");
  EXPECT_EQ(groupedDigits(999, ",", 1000), "999");
  EXPECT_EQ(groupedDigits(1000, ",", 1000), "1,000");
  EXPECT_EQ(groupedDigits(1234567, ",", 1000), "1,234,567");
  EXPECT_EQ(groupedDigits(123456, "\u202f", 1000), "123\u202f456");
  EXPECT_EQ(groupedDigits(1204, ".", 10000), "1204");
  EXPECT_EQ(groupedDigits(12040, ".", 10000), "12.040");
}

// Guarded, but: what is said when watching is not what it seems.
class StatusAttention : public testing::Test {
 protected:
  StatusAttention() {
    facts.watching = true;
    facts.watchedFolders = 1;
    strings.texts = {{"STATUS_WATCHING_ONE", "Watching 1 folder"},
                     {"STATUS_IDLE", "Not watching"},
                     {"STATUS_BUT", "%@, but %@"},
                     {"STATUS_NO_DEFINITIONS", "without definitions"},
                     {"STATUS_OLD_DEFINITIONS", "they are %@ days old"},
                     {"STATUS_NOT_THERE_ONE", "%@ is not there"},
                     {"STATUS_NOT_THERE", "%@ folders are not there"},
                     {"STATUS_PARTLY", "%@, not all of them"},
                     {"DIGITS_SEPARATOR", ","},
                     {"DIGITS_GROUPED_FROM", "1000"}};
  }
  void expect(const std::string& words, Attention attention) {
    EXPECT_EQ(text.wordsFor(facts), words);
    EXPECT_EQ(attentionFor(facts), attention) << words;
  }

  FakeLocalizedStrings strings;
  ManualClock clock;
  StatusFacts facts;
  std::vector<StatusLine> shown;
  StatusText text{strings, clock, [this] { return facts; },
                  [this](const StatusLine& line) { shown.push_back(line); }};
};

TEST_F(StatusAttention, IsNotAskedForWhileAllIsWell) {
  expect("Watching 1 folder", Attention::none);
}

TEST_F(StatusAttention, NamesTheWorstReason) {
  facts.placesWithGaps = 1;
  expect("Watching 1 folder, not all of them", Attention::gaps);
  facts.missingFolders = 1;
  facts.missingFolder = "~/A, but %@";
  expect("Watching 1 folder, but ~/A, but %@ is not there", Attention::missingFolders);
  facts.missingFolders = 1200;
  expect("Watching 1 folder, but 1,200 folders are not there", Attention::missingFolders);
  facts.definitions = DefinitionState::old;
  facts.daysOfDefinitions = 23;
  expect("Watching 1 folder, but they are 23 days old", Attention::oldDefinitions);
  facts.definitions = DefinitionState::none;
  expect("Watching 1 folder, but without definitions", Attention::noDefinitions);
  facts.helperFails = true;
  expect("<STATUS_HELPER_FAILS>", Attention::helperFails);
  facts.engineFails = true;
  expect("<STATUS_ENGINE_FAILS>", Attention::engineFails);
  facts.engineMissing = true;
  expect("<STATUS_NO_ENGINE>", Attention::noEngine);
  facts.preferencesMissing = true;
  expect("<STATUS_NO_PREFERENCES>", Attention::noPreferences);
}

TEST_F(StatusAttention, IsAskedForWhenNoneOfTheFoldersIsThere) {
  facts.watchedFolders = 0;
  facts.missingFolders = 1;
  facts.missingFolder = "~/A";
  expect("Not watching, but ~/A is not there", Attention::missingFolders);
}

TEST_F(StatusAttention, IsNotAskedForOnceWatchingWasStopped) {
  facts.definitions = DefinitionState::none;
  facts.missingFolders = 1;
  facts.watching = false;
  expect("Not watching", Attention::none);
}

TEST_F(StatusAttention, IsNotAskedForWhileWatchingIsSetUpAnew) {
  facts.definitions = DefinitionState::none;
  facts.settingUp = true;
  expect("<WAIT>", Attention::none);
}

TEST_F(StatusAttention, StaysDuringAScanThatHasWordsOfItsOwn) {
  facts.definitions = DefinitionState::none;
  facts.busy = true;
  facts.filesBeingScanned = 1;
  expect("<STATUS_SCANNING_ONE>", Attention::noDefinitions);
}

TEST_F(StatusAttention, IsReportedWhenItIsAllThatHasChanged) {
  facts.busy = true;
  facts.filesBeingScanned = 1;
  text.show();
  facts.definitions = DefinitionState::old;
  text.show();
  text.show();
  ASSERT_EQ(shown.size(), 2U);
  EXPECT_EQ(shown[0].words, shown[1].words);
  EXPECT_EQ(shown[1].attention, Attention::oldDefinitions);
}

}  // namespace
}  // namespace quillo
