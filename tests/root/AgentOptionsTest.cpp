// What the agent's program answers on its command line.

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "posix/Version.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

using Outcome = GuardedHome::Outcome;

class AgentOptions : public testing::Test {
 protected:
  // With no display to be had: a desktop backend that is made at all ends the program.
  AgentOptions() { home.setVariable("QT_QPA_PLATFORM=xcb"); }

  Outcome called(const std::vector<std::string>& words) const {
    std::vector<std::string> command = {"/tmp/guarded/bin/vantrel-quillo"};
    command.insert(command.end(), words.begin(), words.end());
    return home.runAsUser(command);
  }

  // The words of a text that begin with two hyphens.
  static std::set<std::string> optionsIn(const std::string& text) {
    std::set<std::string> options;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
      if (word.starts_with("--")) options.insert(word);
    }
    return options;
  }

  GuardedHome home;
};

TEST_F(AgentOptions, SayHowItIsUsedWithoutADesktop) {
  const Outcome outcome = called({"--help"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(outcome.output.starts_with("vantrel-quillo\n")) << outcome.output;
}

TEST_F(AgentOptions, SayTheVersionThatIsBuilt) {
  const Outcome outcome = called({"--version"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output, std::string("vantrel-quillo ") + projectVersion + "\n");
}

TEST_F(AgentOptions, AreAnsweredBesideAnAgentThatRuns) {
  home.setVariable("QT_QPA_PLATFORM=offscreen");
  home.startAndAwaitWatching();
  EXPECT_EQ(called({"--version"}).status, 0);
  EXPECT_EQ(called({"--help"}).status, 0);
  EXPECT_TRUE(home.isRunning());
}

TEST_F(AgentOptions, ThatItDoesNotKnowAreRefusedWithItsUse) {
  const Outcome outcome = called({"--guard"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.output.find("'--guard'"), std::string::npos) << outcome.output;
  EXPECT_NE(outcome.output.find("--help"), std::string::npos) << outcome.output;
}

TEST_F(AgentOptions, DoNotTakeAFileToBeScanned) {
  const Outcome outcome = called({"/tmp"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.output.find("what is \"/tmp\"?"), std::string::npos) << outcome.output;
}

TEST_F(AgentOptions, AreThoseOfTheManualPage) {
  std::string page = readFile(QUILLO_SOURCE_DIR "/docs/man/vantrel-quillo.1");
  std::erase(page, '\\');
  EXPECT_EQ(optionsIn(page), optionsIn(called({"--help"}).output));
}

}  // namespace
}  // namespace quillo::tests
