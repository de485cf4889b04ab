#include <gtest/gtest.h>

#include <sstream>

#include "companion/selftest/TestCommand.h"
#include "tests/fakes/companion/SelfTestFixture.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/DocumentedNames.h"

namespace quillo {
namespace {

using Agent = SelfTestEvidence::Agent;
using Done = SelfTestEvidence::Done;

class TestCommandTest : public SelfTestFixture {
 protected:
  int run(const std::vector<std::string>& words) {
    TestCommandServices services{clock, strings, evidence, {quarantine}};
    services.agentProblem = [this] { return agentProblem; };
    services.isInterrupted = [this] { return isInterrupted; };
    return runTestCommand(words, out, errors, services);
  }
  FakeLocalizedStrings strings;
  bool isInterrupted = false;
  std::string agentProblem;
  std::ostringstream out;
  std::ostringstream errors;
};

TEST_F(TestCommandTest, SaysEachStepAndEndsWithZeroWhenAllWorks) {
  evidence.find = SelfTestEvidence::Find{"Eicar", Done::leftInPlace, ""};
  EXPECT_EQ(run({}), 0);
  EXPECT_EQ(out.str(),
            "<SELFTEST_BEFORE>\n✓ <SELFTEST_GUARDED>\n✓ <SELFTEST_WRITTEN>\n"
            "✓ <SELFTEST_NOTICED>\n✓ <SELFTEST_FOUND_IN_PLACE>\n✓ <SELFTEST_REMOVED>\n"
            "<SELFTEST_END_WORKS>\n");
}

TEST_F(TestCommandTest, SaysOfOneFolderOnlyWhereOthersAreWatched) {
  evidence.now.otherFolders = {"/flat/"};
  evidence.find = SelfTestEvidence::Find{"Eicar", Done::leftInPlace, ""};
  EXPECT_EQ(run({}), 0);
  EXPECT_NE(out.str().find("✓ <SELFTEST_WRITTEN_ALONE>"), std::string::npos);
  EXPECT_TRUE(out.str().ends_with("<SELFTEST_END_WORKS_THERE>\n"));
}

TEST_F(TestCommandTest, SaysWhichStepFailedAndEndsWithOne) {
  int looks = 0;
  evidence.onFacts = [&] { clock.advance(++looks < 3 ? SelfTest::pause : SelfTest::longestWay); };
  EXPECT_EQ(run({}), 1);
  EXPECT_NE(out.str().find("✗ <SELFTEST_NOT_NOTICED>\n✓ <SELFTEST_REMOVED>\n<SELFTEST_END_FAILS>"),
            std::string::npos)
      << out.str();
}

TEST_F(TestCommandTest, EndsWithTwoWhenItCannotTellOrIsBrokenOff) {
  evidence.now.agent = Agent::absent;
  EXPECT_EQ(run({}), 2);
  evidence.now.agent = Agent::watching;
  isInterrupted = true;
  EXPECT_EQ(run({}), 2);
  EXPECT_EQ(countIn(guarded), 0U);
}

TEST_F(TestCommandTest, SaysTheSameInJson) {
  strings.texts["SELFTEST_NO_AGENT"] = "no \"agent\"\n";
  evidence.now.agent = Agent::absent;
  EXPECT_EQ(run({"--json"}), 2);
  const auto document = nlohmann::json::parse(out.str());
  EXPECT_EQ(undocumentedNames(document), std::vector<std::string>());
  EXPECT_EQ(document, nlohmann::json::parse(R"({"version":1,"command":"test",
      "result":"cannotTell","file":"","steps":[
      {"step":"agent","state":"failed","words":"no \"agent\"\\x0A"},
      {"step":"written","state":"waiting","words":"<SELFTEST_NOT_TRIED>"},
      {"step":"noticed","state":"waiting","words":"<SELFTEST_NOT_TRIED>"},
      {"step":"found","state":"waiting","words":"<SELFTEST_NOT_TRIED>"},
      {"step":"removed","state":"waiting","words":"<SELFTEST_NOT_TRIED>"}]})"));
}

TEST_F(TestCommandTest, SaysAtOnceThatNobodyCanBeAsked) {
  strings.texts["COMMAND_NO_ANSWER"] = "not asked: %@";
  agentProblem = "no bus";
  evidence.now.agent = Agent::starting;
  const auto before = clock.now();
  EXPECT_EQ(run({}), 2);
  EXPECT_EQ(errors.str(), "not asked: no bus\n");
  EXPECT_NE(out.str().find("<SELFTEST_END_UNKNOWN>"), std::string::npos);
  EXPECT_LT(clock.now() - before, std::chrono::seconds(1));
}

TEST_F(TestCommandTest, OtherWordsAreAMistake) {
  EXPECT_EQ(run({"--jsno"}), 2);
  EXPECT_EQ(errors.str(), "usage: vantrel test [--json]\n");
  EXPECT_EQ(run({"--json", "x"}), 2);
  EXPECT_TRUE(out.str().empty());
}

}  // namespace
}  // namespace quillo
