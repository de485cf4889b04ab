// Guarded, but: what is said when watching is not what it seems.

#include <gtest/gtest.h>

#include "menu/StatusText.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

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
  facts.engineMissing = true;
  expect("<STATUS_NO_ENGINE>", Attention::noEngine);
  facts.preferencesMissing = true;
  expect("<STATUS_NO_PREFERENCES>", Attention::noEngine);
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

TEST_F(StatusAttention, StaysDuringAScanThatHasWordsOfItsOwn) {
  facts.definitions = DefinitionState::none;
  facts.busy = true;
  facts.filesBeingScanned = 1;
  expect("<STATUS_SCANNING_ONE>", Attention::noDefinitions);
}

TEST_F(StatusAttention, IsToldWhenItIsAllThatHasChanged) {
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
