#include <gtest/gtest.h>

#include <filesystem>

#include "clamav/Definitions.h"
#include "tests/fakes/companion/SelfTestFixture.h"

namespace quillo {
namespace {

using Agent = SelfTestEvidence::Agent;
using Done = SelfTestEvidence::Done;
using Outcome = SelfTest::Outcome;
using State = SelfTest::State;
using Step = SelfTest::Step;

using SelfTestTest = SelfTestFixture;

TEST_F(SelfTestTest, WorksWhenTheFileIsFoundAndLeavesNothing) {
  SelfTest test(clock, evidence, {quarantine});
  test.step();
  EXPECT_EQ(TemporaryFolder::read(test.path()), eicarTestFile());
  EXPECT_EQ(of(test, Step::noticed).state, State::going);
  evidence.now.filesBeingScanned = 1;
  test.step();
  EXPECT_EQ(of(test, Step::noticed).state, State::done);
  EXPECT_EQ(evidence.asked, test.path());
  evidence.find = SelfTestEvidence::Find{"Eicar", Done::leftInPlace, ""};
  test.step();
  EXPECT_EQ(test.outcome(), Outcome::works);
  EXPECT_EQ(of(test, Step::found).words.key, "SELFTEST_FOUND_IN_PLACE");
  EXPECT_EQ(of(test, Step::removed).state, State::done);
  EXPECT_EQ(countIn(guarded), 0U);
}

TEST_F(SelfTestTest, SaysWhichFoldersItDoesNotTry) {
  evidence.now.watchedFolders.emplace_back("/other/");
  evidence.now.otherFolders = {"/flat/"};
  SelfTest test(clock, evidence, {});
  test.step();
  EXPECT_EQ(of(test, Step::written).words.key, "SELFTEST_WRITTEN_ALONE");
  EXPECT_EQ(of(test, Step::written).words.values,
            (std::vector<std::string>{test.path(), "/other/, /flat/"}));
  EXPECT_TRUE(test.leavesFoldersOut());
}

TEST_F(SelfTestTest, NamesTheFolderThatItCouldWriteIntoAsTheOneThatItTries) {
  evidence.now.watchedFolders.insert(evidence.now.watchedFolders.begin(), folder.at("gone") + "/");
  SelfTest test(clock, evidence, {});
  test.step();
  EXPECT_EQ(of(test, Step::written).words.values,
            (std::vector<std::string>{test.path(), folder.at("gone") + "/"}));
}

TEST_F(SelfTestTest, AloneInItsFolderLeavesNoneOut) {
  SelfTest test(clock, evidence, {});
  test.step();
  EXPECT_EQ(of(test, Step::written).words.key, "SELFTEST_WRITTEN");
  EXPECT_FALSE(test.leavesFoldersOut());
}

TEST_F(SelfTestTest, ThatIsGivenUpHasALaterFindCountAsItsOwn) {
  std::string path;
  {
    SelfTest givenUp(clock, evidence, {});
    steps(givenUp, SelfTest::longestWay + std::chrono::seconds(1));
    EXPECT_EQ(evidence.abandoned, givenUp.path());
    EXPECT_GT(evidence.abandonedSince, 0);
    SelfTest left(clock, evidence, {});
    left.step();
    path = left.path();
  }
  EXPECT_EQ(evidence.abandoned, path);
}

TEST_F(SelfTestTest, ThatHasItsFindHasASecondOneOfTheSameFileCountAsItsOwn) {
  SelfTest test(clock, evidence, {});
  test.step();
  evidence.find = SelfTestEvidence::Find{"Eicar", Done::leftInPlace, ""};
  test.step();
  EXPECT_EQ(test.outcome(), SelfTest::Outcome::works);
  EXPECT_EQ(evidence.abandoned, test.path());
}

TEST_F(SelfTestTest, QuarantinedFileIsRemovedThereAndNothingElse) {
  SelfTest test(clock, evidence, {quarantine});
  test.step();
  const std::string place = moveAway(test);
  folder.write("quarantine/" + std::string(lastPathComponent(place)) + ".txt", "mine");
  folder.write("quarantine/other.com", eicarTestFile());
  evidence.find = SelfTestEvidence::Find{"Eicar", Done::quarantined, place};
  test.step();
  EXPECT_EQ(test.outcome(), Outcome::works);
  EXPECT_EQ(countIn(quarantine), 2U);
  EXPECT_TRUE(TemporaryFolder::exists(quarantine + "/other.com"));
}

TEST_F(SelfTestTest, FileIsRemovedFromWhereTheRecordSaysThatItLies) {
  SelfTest test(clock, evidence, {});
  test.step();
  evidence.find = SelfTestEvidence::Find{"Eicar", Done::trashed, moveAway(test)};
  test.step();
  EXPECT_EQ(of(test, Step::found).words.key, "SELFTEST_FOUND_TRASHED");
  EXPECT_EQ(countIn(quarantine), 0U);
}

TEST_F(SelfTestTest, WhatATrashKnowsOfTheFileIsRemovedToo) {
  SelfTest test(clock, evidence, {});
  test.step();
  const std::string name(lastPathComponent(test.path()));
  std::filesystem::create_directories(folder.at("trash/files"));
  const std::string note = folder.write("trash/info/" + name + ".trashinfo");
  const std::string place = folder.at("trash/files/" + name);
  std::filesystem::rename(test.path(), place);
  evidence.find = SelfTestEvidence::Find{"Eicar", Done::trashed, place};
  test.step();
  EXPECT_EQ(test.outcome(), Outcome::works);
  EXPECT_FALSE(TemporaryFolder::exists(place));
  EXPECT_FALSE(TemporaryFolder::exists(note));
}

TEST_F(SelfTestTest, LinkOfItsNameIsLeftAlone) {
  SelfTest test(clock, evidence, {});
  test.step();
  std::filesystem::remove(test.path());
  const std::string precious = folder.write("precious");
  std::filesystem::create_symlink(precious, test.path());
  test.cancel();
  EXPECT_TRUE(TemporaryFolder::exists(precious));
  EXPECT_EQ(countIn(guarded), 1U);
}

TEST_F(SelfTestTest, FailsAfterAMinuteWhenNothingNoticesTheFile) {
  SelfTest test(clock, evidence, {});
  steps(test, SelfTest::longestWay);
  EXPECT_EQ(test.outcome(), Outcome::going);
  steps(test, std::chrono::seconds(1));
  EXPECT_EQ(test.outcome(), Outcome::fails);
  EXPECT_EQ(of(test, Step::noticed).words.key, "SELFTEST_NOT_NOTICED");
  EXPECT_EQ(of(test, Step::found).state, State::waiting);
  EXPECT_EQ(countIn(guarded), 0U);
}

TEST_F(SelfTestTest, FailsWhenTheFileIsScannedAndNotFound) {
  evidence.now.filesBeingScanned = 1;
  SelfTest test(clock, evidence, {});
  steps(test, SelfTest::longestWay / 2);
  evidence.now.filesBeingScanned = 0;
  steps(test, 2 * SelfTest::longestWay);
  EXPECT_EQ(test.outcome(), Outcome::fails);
  EXPECT_EQ(of(test, Step::found).words.key, "SELFTEST_NOT_FOUND");
}

// The definitions need not be to blame: the test file may wait behind others.
TEST_F(SelfTestTest, CannotTellWhileFilesAreStillBeingScanned) {
  evidence.now.filesBeingScanned = 7;
  SelfTest test(clock, evidence, {});
  steps(test, 2 * SelfTest::longestWay);
  EXPECT_EQ(test.outcome(), Outcome::cannotTell);
  EXPECT_EQ(of(test, Step::found).words.key, "SELFTEST_STILL_BUSY");
}

TEST_F(SelfTestTest, CannotTellFromTheCountOfAnotherFileThoughThisOneWasMoved) {
  SelfTest test(clock, evidence, {quarantine});
  test.step();
  moveAway(test);
  evidence.now.verdicts = 6;
  steps(test, 2 * SelfTest::longestWay);
  EXPECT_EQ(test.outcome(), Outcome::cannotTell);
  EXPECT_EQ(of(test, Step::noticed).words.key, "SELFTEST_NOT_KNOWN");
  EXPECT_EQ(of(test, Step::found).words.key, "SELFTEST_GONE_AND_COUNTED");
  EXPECT_EQ(countIn(quarantine), 0U);
}

TEST_F(SelfTestTest, CannotTellFromTheCountOfAnotherFileThoughThisOneWasDeleted) {
  SelfTest test(clock, evidence, {quarantine});
  test.step();
  std::filesystem::remove(test.path());
  // Others are scanned and counted, too.
  evidence.now.filesBeingScanned = 2;
  evidence.now.verdicts = 600;
  steps(test, 2 * SelfTest::longestWay);
  EXPECT_EQ(test.outcome(), Outcome::cannotTell);
  EXPECT_EQ(of(test, Step::found).words.key, "SELFTEST_GONE_AND_COUNTED");
}

TEST_F(SelfTestTest, CannotTellFromTheCountAlone) {
  SelfTest test(clock, evidence, {});
  test.step();
  evidence.now.verdicts = 6;
  steps(test, 2 * SelfTest::longestWay);
  EXPECT_EQ(test.outcome(), Outcome::cannotTell);
  EXPECT_EQ(of(test, Step::found).words.key, "SELFTEST_ONLY_COUNTED");
}

TEST_F(SelfTestTest, CannotTellWhenSomebodyElseTookTheFile) {
  SelfTest test(clock, evidence, {});
  test.step();
  std::filesystem::remove(test.path());
  steps(test, 2 * SelfTest::longestWay);
  EXPECT_EQ(test.outcome(), Outcome::cannotTell);
  EXPECT_EQ(of(test, Step::found).words.key, "SELFTEST_GONE");
}

TEST_F(SelfTestTest, WritesNothingUnlessTheAgentWatches) {
  const std::vector<std::pair<Agent, std::pair<Outcome, std::string>>> cases = {
      {Agent::absent, {Outcome::going, ""}},
      {Agent::stopped, {Outcome::fails, "SELFTEST_NOT_WATCHING"}},
      {Agent::starting, {Outcome::going, ""}}};
  for (const auto& [agent, expected] : cases) {
    evidence.now.agent = agent;
    SelfTest test(clock, evidence, {});
    test.step();
    EXPECT_EQ(test.outcome(), expected.first) << expected.second;
    EXPECT_EQ(of(test, Step::agent).words.key, expected.second);
    EXPECT_EQ(countIn(guarded), 0U);
  }
}

TEST_F(SelfTestTest, AgentThatWasStartedAMomentAgoHasHalfAMinuteToCome) {
  evidence.now.agent = Agent::absent;
  SelfTest test(clock, evidence, {});
  steps(test, SelfTest::longestAbsence);
  EXPECT_EQ(test.outcome(), Outcome::going);
  EXPECT_TRUE(test.lacksAgent());
  evidence.now.agent = Agent::watching;
  test.step();
  EXPECT_FALSE(test.lacksAgent());
  EXPECT_EQ(of(test, Step::written).state, State::done);
  evidence.now.agent = Agent::absent;
  SelfTest another(clock, evidence, {});
  steps(another, SelfTest::longestAbsence + std::chrono::seconds(1));
  EXPECT_EQ(another.outcome(), Outcome::cannotTell);
  EXPECT_EQ(of(another, Step::agent).words.key, "SELFTEST_NO_AGENT");
  EXPECT_TRUE(another.lacksAgent());
  EXPECT_EQ(countIn(guarded), 1U);
}

TEST_F(SelfTestTest, AgentThatStartsIsWaitedForThreeMinutes) {
  evidence.now.agent = Agent::starting;
  SelfTest test(clock, evidence, {});
  steps(test, SelfTest::longestStart);
  EXPECT_EQ(test.outcome(), Outcome::going);
  evidence.now.agent = Agent::watching;
  test.step();
  EXPECT_EQ(of(test, Step::written).state, State::done);
  evidence.now.agent = Agent::starting;
  SelfTest another(clock, evidence, {});
  steps(another, SelfTest::longestStart + std::chrono::seconds(1));
  EXPECT_EQ(of(another, Step::agent).words.key, "SELFTEST_STILL_STARTING");
}

TEST_F(SelfTestTest, FirstFolderThatCanBeWrittenIsTaken) {
  evidence.now.watchedFolders = {folder.at("gone/"), guarded + "/"};
  SelfTest test(clock, evidence, {});
  test.step();
  EXPECT_TRUE(test.path().starts_with(guarded + "/vantrel-self-test-")) << test.path();
}

TEST_F(SelfTestTest, CannotTellWhereNothingCanBeWritten) {
  evidence.now.watchedFolders = {folder.at("gone/")};
  SelfTest test(clock, evidence, {});
  test.step();
  EXPECT_EQ(test.outcome(), Outcome::cannotTell);
  const Wording words = of(test, Step::written).words;
  EXPECT_EQ(words.key, "SELFTEST_NOT_WRITTEN");
  EXPECT_EQ(words.values,
            std::vector<std::string>{folder.at("gone") + ": No such file or directory"});
  evidence.now.watchedFolders.clear();
  SelfTest another(clock, evidence, {});
  another.step();
  EXPECT_EQ(of(another, Step::written).words.key, "SELFTEST_NO_FOLDER");
}

TEST_F(SelfTestTest, AgentThatEndsMeanwhileIsSaid) {
  SelfTest test(clock, evidence, {});
  test.step();
  evidence.now.agent = Agent::absent;
  steps(test, std::chrono::minutes(1));
  EXPECT_EQ(test.outcome(), Outcome::fails);
  EXPECT_EQ(of(test, Step::found).words.key, "SELFTEST_AGENT_LEFT");
  EXPECT_EQ(countIn(guarded), 0U);
}

TEST_F(SelfTestTest, AgentThatIsNotSeenNowAndThenIsThere) {
  SelfTest test(clock, evidence, {});
  test.step();
  for (int look = 0; look < 3 * SelfTest::looksUntilAbsent; ++look) {
    const bool isSeen = look % SelfTest::looksUntilAbsent == 0;
    evidence.now.agent = isSeen ? Agent::watching : Agent::absent;
    test.step();
    ASSERT_EQ(test.outcome(), Outcome::going) << look;
  }
}

TEST_F(SelfTestTest, AgentThatIsNotSeenOnceIsNotLacking) {
  evidence.now.agent = Agent::starting;
  SelfTest test(clock, evidence, {});
  steps(test, SelfTest::longestAbsence + std::chrono::seconds(1));
  evidence.now.agent = Agent::absent;
  test.step();
  EXPECT_EQ(test.outcome(), Outcome::going);
  EXPECT_FALSE(test.lacksAgent());
}

TEST_F(SelfTestTest, FileIsRemovedWhenTheTestIsGivenUpAtAnyTime) {
  {
    SelfTest test(clock, evidence, {});
    test.step();
    EXPECT_EQ(countIn(guarded), 1U);
  }
  EXPECT_EQ(countIn(guarded), 0U);
  SelfTest test(clock, evidence, {});
  test.cancel();
  EXPECT_EQ(test.outcome(), Outcome::cannotTell);
}

TEST_F(SelfTestTest, NothingIsAwaitedAnyMoreOnceItIsOver) {
  SelfTest test(clock, evidence, {});
  test.step();
  ASSERT_EQ(of(test, Step::noticed).state, State::going);
  test.cancel();
  EXPECT_EQ(of(test, Step::noticed).state, State::waiting);
  EXPECT_EQ(of(test, Step::noticed).words.key, "SELFTEST_NOT_KNOWN");
  EXPECT_EQ(of(test, Step::removed).state, State::done);
  SelfTest early(clock, evidence, {});
  early.cancel();
  EXPECT_EQ(of(early, Step::written).words.key, "SELFTEST_NOT_TRIED");
}

}  // namespace
}  // namespace quillo
