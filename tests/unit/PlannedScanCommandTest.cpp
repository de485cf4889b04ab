#include <gtest/gtest.h>

#include <sstream>

#include "companion/planned/PlannedScanCommand.h"
#include "tests/fakes/desktop/FakeServices.h"

namespace quillo {
namespace {

using Words = std::vector<std::string>;

class PlannedScanCommandTest : public testing::Test {
 protected:
  int run(const Words& words) {
    return runPlannedScan(words, errors,
                          {strings, growl,
                           [this](const Words& paths) {
                             scanned = paths;
                             return outcome;
                           },
                           [this](const std::string& report, bool isFind) {
                             toAgent.push_back((isFind ? "find: " : "") + report);
                             return hasAgent;
                           }});
  }
  FakeLocalizedStrings strings;
  FakeGrowl growl;
  std::ostringstream errors;
  PlannedScanOutcome outcome;
  Words scanned;
  Words toAgent;
  bool hasAgent = false;
};

TEST_F(PlannedScanCommandTest, ScansPathsAndUrisOfPaths) {
  EXPECT_EQ(run({"--planned", "a1", "--", "/home/anna/100%", "file:///%FF"}), 0);
  EXPECT_EQ(scanned, (Words{"/home/anna/100%", "/\xff"}));
}

TEST_F(PlannedScanCommandTest, ShowsWhatCameOfIt) {
  bool isHandedOver = false;
  growl.atHandOver = [&] { isHandedOver = true; };
  outcome = {.found = 2, .isComplete = true, .isStopped = false, .words = "2 finds"};
  EXPECT_EQ(run({"--planned", "a1", "--", "/a"}), 1);
  ASSERT_EQ(growl.posted().size(), 1U);
  EXPECT_EQ(growl.posted()[0].title, "<PLANNED_RESULT_FOUND>");
  EXPECT_EQ(growl.posted()[0].description, "2 finds");
  EXPECT_TRUE(growl.posted()[0].details.isFind);
  EXPECT_TRUE(growl.posted()[0].isSticky);
  EXPECT_TRUE(growl.posted()[0].details.outlivesSender);
  EXPECT_TRUE(isHandedOver);
}

TEST_F(PlannedScanCommandTest, ScanThatCouldFindNothingIsNotSaidToHaveLeftFilesOut) {
  outcome.isComplete = false;
  outcome.lacksDefinitions = true;
  EXPECT_EQ(run({"--planned", "a1", "--", "/a"}), 2);
  EXPECT_EQ(growl.posted()[0].title, "<PLANNED_RESULT_NO_DEFINITIONS>");
}

TEST_F(PlannedScanCommandTest, WhatWasNotScannedIsNotCalledClean) {
  outcome.isComplete = false;
  EXPECT_EQ(run({"--planned", "a1", "--", "/a"}), 2);
  EXPECT_EQ(growl.posted()[0].title, "<PLANNED_RESULT_INCOMPLETE>");
  outcome.isComplete = true;
  EXPECT_EQ(run({"--planned", "a1", "--", "/a"}), 0);
  EXPECT_EQ(growl.posted()[1].title, "<PLANNED_RESULT_CLEAN>");
  EXPECT_FALSE(growl.posted()[0].isSticky);
  EXPECT_FALSE(growl.posted()[1].isSticky);
}

TEST_F(PlannedScanCommandTest, WhatNeedsALookIsShownByTheAgentWhereThereIsOne) {
  hasAgent = true;
  outcome = {.found = 2, .isComplete = true, .isStopped = false, .words = "2 finds"};
  EXPECT_EQ(run({"--planned", "a1", "--", "/a"}), 1);
  outcome = {.found = 0, .isComplete = false, .isStopped = false, .words = "1 left out"};
  EXPECT_EQ(run({"--planned", "a1", "--", "/a"}), 2);
  EXPECT_EQ(toAgent, (Words{"find: <PLANNED_RESULT_FOUND>\n2 finds",
                            "<PLANNED_RESULT_INCOMPLETE>\n1 left out"}));
  EXPECT_TRUE(growl.posted().empty());
  outcome = {.found = 0, .isComplete = true, .isStopped = false, .words = "clean"};
  EXPECT_EQ(run({"--planned", "a1", "--", "/a"}), 0);
  EXPECT_EQ(toAgent.size(), 2U);
  EXPECT_EQ(growl.posted().size(), 1U);
}

TEST_F(PlannedScanCommandTest, OneThatWasEndedEarlyIsSaidToAndIsNoFailureOfItsService) {
  outcome = {.found = 0, .isComplete = false, .isStopped = true, .words = "stopped"};
  EXPECT_EQ(run({"--planned", "a1", "--", "/a"}), 143);
  EXPECT_EQ(growl.posted().at(0).title, "<PLANNED_RESULT_ENDED>");
  outcome.found = 1;
  EXPECT_EQ(run({"--planned", "a1", "--", "/a"}), 1);
  EXPECT_EQ(growl.posted().at(1).title, "<PLANNED_RESULT_FOUND>");
}

TEST_F(PlannedScanCommandTest, OtherWordsScanNothing) {
  for (const Words& words : {Words{},
                             {"--planned"},
                             {"--planned", "a1"},
                             {"--planned", "a1", "--"},
                             {"--planned", "a1", "/a"},
                             {"--planned", "a1", "--", "relative"},
                             {"--planned", "a1", "--", "/a", "file://elsewhere/b"},
                             {"/a", "b", "--", "/c"}}) {
    EXPECT_EQ(run(words), 2);
  }
  EXPECT_TRUE(scanned.empty());
  EXPECT_TRUE(growl.posted().empty());
  EXPECT_NE(errors.str(), "");
}

}  // namespace
}  // namespace quillo
