#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "companion/doctor/DoctorCommand.h"
#include "posix/Version.h"
#include "tests/fakes/desktop/FakeAgentLink.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/DocumentedNames.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Sign = Finding::Sign;

class DoctorCommandTest : public testing::Test {
 protected:
  DoctorCommandTest() {
    desktop.folders.home = home.path();
    desktop.folders.resources = home.path();
    agent.atRefresh = FakeAgentLink::watching(projectVersion);
  }
  int run(const std::vector<std::string>& words) {
    return runDoctorCommand(words, out, errors,
                            {agent,
                             check,
                             {clock, desktop.folders, desktop.localizedStrings, desktop.preferences,
                              [] { return std::optional(std::vector<Mount>()); },
                              [](const std::string&) { return true; }}});
  }

  TemporaryFolder home;
  FakePlatform desktop;
  PassingClock clock;
  FakeAgentLink agent;
  FakeDesktopCheck check;
  std::ostringstream out;
  std::ostringstream errors;
};

TEST_F(DoctorCommandTest, SaysOneSentenceWithASignAndTheRemedyBelow) {
  EXPECT_EQ(run({}), 1);
  EXPECT_NE(out.str().find("[ok] <DOCTOR_AGENT_GOOD>\n"
                           "[X]  <DOCTOR_ENGINE_NOT_CHOSEN>\n"
                           "     → <DOCTOR_ENGINE_NOT_CHOSEN_REMEDY>\n"),
            std::string::npos)
      << out.str();
  EXPECT_NE(out.str().find("\n\n<DOCTOR_PROBLEMS_MANY>\n"), std::string::npos);
}

TEST_F(DoctorCommandTest, GivesADocument) {
  EXPECT_EQ(run({"--json"}), 1);
  const nlohmann::json json = nlohmann::json::parse(out.str());
  EXPECT_EQ(json["version"], 1);
  EXPECT_EQ(json["command"], "doctor");
  EXPECT_EQ(undocumentedNames(json), std::vector<std::string>());
  EXPECT_EQ(json["sign"], "problem");
  EXPECT_EQ(json["findings"][0]["check"], "agent");
  EXPECT_EQ(json["findings"][0]["sign"], "good");
  EXPECT_EQ(json["findings"][1]["remedy"], "<DOCTOR_ENGINE_NOT_CHOSEN_REMEDY>");
}

TEST_F(DoctorCommandTest, EndsWithTwoForWordsThatItDoesNotKnow) {
  EXPECT_EQ(run({"now"}), 2);
  EXPECT_EQ(errors.str(), "usage: vantrel doctor [--json]\n");
}

TEST(DoctorSigns, AreAsBadAsTheWorst) {
  const auto worst = [](const std::vector<Sign>& signs) {
    std::vector<Finding> findings;
    for (const Sign sign : signs) {
      findings.push_back({"", "", sign, {}});
    }
    return worstOf(findings);
  };
  EXPECT_EQ(worst({}), Sign::good);
  EXPECT_EQ(worst({Sign::warning, Sign::good}), Sign::warning);
  EXPECT_EQ(worst({Sign::warning, Sign::unknown}), Sign::unknown);
  EXPECT_EQ(worst({Sign::unknown, Sign::warning}), Sign::unknown);
  EXPECT_EQ(worst({Sign::good, Sign::problem, Sign::unknown}), Sign::problem);
}

}  // namespace
}  // namespace quillo
