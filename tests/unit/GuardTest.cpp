#include <gtest/gtest.h>

#include "companion/overview/Guard.h"
#include "posix/Version.h"
#include "tests/fakes/desktop/FakeAgentLink.h"
#include "tests/fakes/desktop/FakeServices.h"

namespace quillo {
namespace {

using Sign = Guard::Sign;
using Remedy = Guard::Remedy;

class GuardTest : public testing::Test {
 protected:
  GuardTest() {
    for (const char* key : {"GUARD_GUARDED_MANY", "GUARD_OLD_DEFINITIONS_MANY",
                            "GUARD_MISSING_MANY", "GUARD_MISSING_ONE", "GUARD_OTHER_PROGRAM"}) {
      strings.texts[key] = std::string(key) + " %@";
    }
  }
  Guard judged() { return judgeGuard(presence, status, strings, now); }
  void expect(Sign sign, Remedy remedy, const std::string& sentence, const std::string& reason) {
    const Guard guard = judged();
    EXPECT_EQ(guard.sign, sign);
    EXPECT_EQ(guard.remedy, remedy);
    EXPECT_EQ(guard.sentence.in(strings), sentence);
    EXPECT_EQ(guard.reason.in(strings), reason);
  }

  static constexpr const char* unguarded = "<GUARD_NOT_GUARDED>";
  static constexpr const char* guarded = "GUARD_GUARDED_MANY 2";
  FakeLocalizedStrings strings;
  std::chrono::system_clock::time_point now{std::chrono::hours(24 * 20000)};
  AgentPresence presence = AgentPresence::answering;
  std::optional<AgentStatus> status = FakeAgentLink::watching(projectVersion);
};

TEST_F(GuardTest, IsGoodWhileFoldersAreWatched) {
  expect(Sign::guarded, Remedy::none, guarded, "");
}

TEST_F(GuardTest, IsNoneWithoutAnAgent) {
  status.reset();
  presence = AgentPresence::absent;
  expect(Sign::notGuarded, Remedy::startAgent, unguarded, "<GUARD_NO_AGENT>");
}

TEST_F(GuardTest, DoesNotTakeAnAgentThatHasNotAnsweredForNone) {
  status.reset();
  presence = AgentPresence::unknown;
  expect(Sign::unknown, Remedy::none, "<GUARD_UNKNOWN>", "<GUARD_ASKING>");
  presence = AgentPresence::beginning;
  expect(Sign::attention, Remedy::none, "<GUARD_STARTING>", "<GUARD_BEGINNING>");
  presence = AgentPresence::silent;
  expect(Sign::unknown, Remedy::none, "<GUARD_UNKNOWN>", "<GUARD_SILENT>");
  presence = AgentPresence::foreign;
  expect(Sign::unknown, Remedy::none, "<GUARD_UNKNOWN>", "<GUARD_FOREIGN>");
}

TEST_F(GuardTest, IsGoodAndBusyWhileFilesAreScanned) {
  status->filesBeingScanned = 3;
  expect(Sign::scanning, Remedy::none, guarded, "");
}

TEST_F(GuardTest, IsNoneWhileNothingIsWatched) {
  status->state = "stopped";
  expect(Sign::notGuarded, Remedy::startWatching, unguarded, "<GUARD_STOPPED>");
  status->state = "asleep";
  expect(Sign::notGuarded, Remedy::startWatching, unguarded, "<GUARD_ASLEEP>");
  status->state = "quitting";
  expect(Sign::notGuarded, Remedy::none, unguarded, "<GUARD_QUITTING>");
}

TEST_F(GuardTest, AsksForPatienceWhileTheEngineLoads) {
  status->state = "starting";
  expect(Sign::attention, Remedy::none, "<GUARD_STARTING>", "<GUARD_STARTING_REASON>");
}

TEST_F(GuardTest, IsNoneWithoutAnEngineInWhateverState) {
  status->attention = "noEngine";
  for (const char* state : {"watching", "stopped"}) {
    status->state = state;
    expect(Sign::notGuarded, Remedy::setUpEngine, unguarded, "<GUARD_NO_ENGINE>");
  }
}

TEST_F(GuardTest, IsNoneWhileNothingHasBeenSetUp) {
  status->attention = "noPreferences";
  status->state = "stopped";
  expect(Sign::notGuarded, Remedy::setUp, unguarded, "<GUARD_NO_PREFERENCES>");
}

TEST_F(GuardTest, IsNoneWhileTheEngineCannotBeStartedAgain) {
  status->attention = "engineFails";
  expect(Sign::notGuarded, Remedy::startWatching, unguarded, "<GUARD_ENGINE_FAILS>");
}

TEST_F(GuardTest, IsNotTakenForWatchingByTheStateAlone) {
  const auto state = [this] { return watchingStateOf(presence, status, strings); };
  EXPECT_EQ(state(), "");
  status->attention = "gaps";
  EXPECT_EQ(state(), "");
  status->attention = "helperFails";
  EXPECT_EQ(state(), "helperFails");
  status->attention = "";
  status->missingFolders = status->watchedFolders;
  EXPECT_EQ(state(), "missingFolders");
  status->state = "asleep";
  EXPECT_EQ(state(), "asleep");
  status->version = AgentStatus::currentVersion + 1;
  EXPECT_EQ(state(), "unknown");
  status.reset();
  presence = AgentPresence::silent;
  EXPECT_EQ(state(), "unknown");
  presence = AgentPresence::absent;
  EXPECT_EQ(state(), "none");
}

TEST_F(GuardTest, DoesNotCountFoldersThatVanishedAMomentAgo) {
  const std::string gone = status->watchedFolders.at(0);
  status = withVanishedFolders(*status, [&gone](const std::string& path) { return path == gone; });
  strings.texts["GUARD_MISSING_ONE"] = "%@ is not there";
  const Guard guard = judged();
  EXPECT_EQ(guard.sign, Sign::attention);
  EXPECT_EQ(guard.reason.in(strings), gone.substr(0, gone.size() - 1) + " is not there");
}

TEST_F(GuardTest, IsNoneWhileTheHelperFails) {
  status->attention = "helperFails";
  expect(Sign::notGuarded, Remedy::startWatching, unguarded, "<GUARD_HELPER_FAILS>");
}

TEST_F(GuardTest, IsNoneWithoutFolders) {
  status->watchedFolders.clear();
  expect(Sign::notGuarded, Remedy::chooseFolders, unguarded, "<GUARD_NO_FOLDERS>");
  status->missingFolders = {"/media/stick"};
  status->attention = "missingFolders";
  expect(Sign::notGuarded, Remedy::showFolders, unguarded, "<GUARD_ALL_FOLDERS_MISSING>");
}

TEST_F(GuardTest, IsNoneWhereEachFolderHasVanishedSinceWatchingBegan) {
  status->watchedFolders = {"/media/stick/", "/srv/"};
  status->missingFolders = {"/media/stick", "/srv/"};
  status->attention = "missingFolders";
  expect(Sign::notGuarded, Remedy::showFolders, unguarded, "<GUARD_ALL_FOLDERS_MISSING>");
}

TEST_F(GuardTest, IsNoneWithoutDefinitions) {
  status->attention = "noDefinitions";
  expect(Sign::notGuarded, Remedy::updateDefinitions, unguarded, "<GUARD_NO_DEFINITIONS>");
}

TEST_F(GuardTest, WarnsOfOldDefinitions) {
  status->attention = "oldDefinitions";
  status->definitionsBuilt = (20000 - 30) * std::int64_t{86400};
  expect(Sign::attention, Remedy::updateDefinitions, guarded, "GUARD_OLD_DEFINITIONS_MANY 30");
}

TEST_F(GuardTest, WarnsOfMissingFolders) {
  status->attention = "missingFolders";
  status->missingFolders = {"/a\xff"};
  expect(Sign::attention, Remedy::showFolders, guarded, "GUARD_MISSING_ONE /a\xff");
  status->missingFolders.emplace_back("/b");
  expect(Sign::attention, Remedy::showFolders, guarded, "GUARD_MISSING_MANY 2");
}

TEST_F(GuardTest, WarnsOfGaps) {
  status->attention = "gaps";
  expect(Sign::attention, Remedy::showFolders, guarded, "<GUARD_GAPS>");
}

TEST_F(GuardTest, WarnsOfAnAgentOfAnotherVersion) {
  status->program = "0.0.1";
  expect(Sign::attention, Remedy::restartAgent, guarded, "GUARD_OTHER_PROGRAM 0.0.1");
}

TEST_F(GuardTest, CannotTellOfAnAgentThatItDoesNotUnderstand) {
  status->version = AgentStatus::currentVersion + 1;
  EXPECT_EQ(judged().sign, Sign::unknown);
  EXPECT_EQ(judged().reason.key, "GUARD_NEWER_AGENT");
}

TEST_F(GuardTest, NamesAStateOrWarningThatItDoesNotKnow) {
  status->state = "dreaming";
  EXPECT_EQ(judged().sign, Sign::unknown);
  EXPECT_EQ(judged().reason.values, std::vector<std::string>{"dreaming"});
  status->state = "watching";
  status->attention = "moon";
  EXPECT_EQ(judged().sign, Sign::attention);
  EXPECT_EQ(judged().reason.values, std::vector<std::string>{"moon"});
}

}  // namespace
}  // namespace quillo
