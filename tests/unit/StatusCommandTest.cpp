#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "companion/overview/RecentCounts.h"
#include "companion/overview/StatusCommand.h"
#include "posix/Version.h"
#include "tests/fakes/desktop/FakeAgentLink.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/DocumentedNames.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

class StatusCommandTest : public testing::Test {
 protected:
  class Counts final : public RecentCounts {
   public:
    RecentCounts::Counts countsSince(std::chrono::system_clock::time_point) override {
      return {3, 4, "", begins};
    }
    std::optional<std::chrono::system_clock::time_point> begins;
  };

  StatusCommandTest() {
    desktop.localizedStrings.texts = {{"COMMAND_SENTENCE", "%@."},
                                      {"GUARD_NOT_GUARDED", "Not guarded"},
                                      {"GUARD_GUARDED_MANY", "%@ folders are guarded"},
                                      {"COMMAND_NO_ANSWER", "No answer: %@"}};
    agent.atRefresh = FakeAgentLink::watching(projectVersion);
  }
  int run(const std::vector<std::string>& words = {}) {
    out.str("");
    return runStatusCommand(words, out, errors,
                            {agent, clock, desktop.localizedStrings, desktop.preferences, counts,
                             [this](const std::string& path) { return path == gone; }});
  }
  nlohmann::json document() {
    run({"--json"});
    nlohmann::json document = nlohmann::json::parse(out.str());
    EXPECT_EQ(undocumentedNames(document), std::vector<std::string>());
    return document;
  }
  std::string firstLine() { return out.str().substr(0, out.str().find('\n')); }

  FakePlatform desktop;
  PassingClock clock;
  FakeAgentLink agent;
  Counts counts;
  std::string gone;
  std::ostringstream out;
  std::ostringstream errors;
};

TEST_F(StatusCommandTest, SaysFirstThatFoldersAreGuarded) {
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(firstLine(), "2 folders are guarded.");
}

TEST_F(StatusCommandTest, EndsWithOneWhenNothingIsGuarded) {
  agent.atRefresh.reset();
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(firstLine(), "Not guarded.");
}

TEST_F(StatusCommandTest, EndsWithOneWhenSomethingNeedsAttention) {
  agent.atRefresh->attention = "gaps";
  EXPECT_EQ(run(), 1);
}

TEST_F(StatusCommandTest, DoesNotCallAFolderGuardedThatHasJustVanished) {
  gone = agent.atRefresh->watchedFolders.at(0);
  EXPECT_EQ(run(), 1);
  EXPECT_NE(out.str().find("<GUARD_MISSING_ONE>"), std::string::npos);
}

TEST_F(StatusCommandTest, EndsWithTwoWhenTheAgentCannotBeAsked) {
  agent.atRefresh.reset();
  agent.problem = {"", {"there is no session bus"}};
  EXPECT_EQ(run(), 2);
  EXPECT_NE(out.str().find("No answer: there is no session bus"), std::string::npos);
}

TEST_F(StatusCommandTest, SaysThatAnAgentIsOnlyBeginning) {
  agent.atRefresh.reset();
  agent.problem = {"", {"it is only beginning"}};
  agent.withoutStatus = AgentPresence::beginning;
  EXPECT_EQ(run(), 1);
  EXPECT_NE(out.str().find("<GUARD_BEGINNING>"), std::string::npos) << out.str();
}

TEST_F(StatusCommandTest, EndsWithTwoForWordsThatItDoesNotKnow) {
  EXPECT_EQ(run({"--jsn"}), 2);
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(errors.str(), "usage: vantrel status [--json]\n");
}

TEST_F(StatusCommandTest, GivesEverythingThatTheAgentSays) {
  agent.atRefresh->words = "Watching\x1b";
  agent.atRefresh->definitionsBuilt = 1690000000;
  agent.atRefresh->definitionFolder = "/d\xff";
  const nlohmann::json said = document()["agent"];
  EXPECT_EQ(said["words"], "Watching\\x1B");
  EXPECT_EQ(said["definitionsBuilt"], 1690000000);
  EXPECT_EQ(said["definitionFolder"], "/d\\xFF");
}

TEST_F(StatusCommandTest, GivesADocument) {
  agent.atRefresh->watchedFolders = {"/a\xff\n/"};
  agent.atRefresh->verdicts = 9;
  const nlohmann::json json = document();
  EXPECT_EQ(json["version"], 1);
  EXPECT_EQ(json["command"], "status");
  EXPECT_EQ(json["sign"], "guarded");
  EXPECT_EQ(json["agent"]["watchedFolders"][0], "/a\\xFF\\x0A/");
  EXPECT_EQ(json["agent"]["verdicts"], 9);
  EXPECT_EQ(json["recent"]["found"], 3);
  EXPECT_EQ(json["recent"]["notScanned"], 4);
  EXPECT_EQ(json["recent"]["days"], 30);
  EXPECT_TRUE(json["recent"]["begins"].is_null());
  counts.begins = std::chrono::system_clock::time_point(std::chrono::seconds(1700000000));
  EXPECT_EQ(document()["recent"]["begins"], 1700000000);
  EXPECT_EQ(json["definitions"]["keeper"], "unknown");
}

TEST_F(StatusCommandTest, GivesADocumentWithoutAnAgent) {
  agent.atRefresh.reset();
  EXPECT_TRUE(document()["agent"].is_null());
  EXPECT_EQ(document()["sign"], "notGuarded");
}

TEST_F(StatusCommandTest, PrintsNoControlCharacters) {
  agent.atRefresh->historyProblem = "\x1b[2J";
  desktop.localizedStrings.texts["OVERVIEW_HISTORY_NOT_KEPT"] = "Not kept: %@";
  run();
  EXPECT_EQ(out.str().find('\x1b'), std::string::npos);
  EXPECT_NE(out.str().find("Not kept: \\x1B[2J"), std::string::npos);
}

}  // namespace
}  // namespace quillo
