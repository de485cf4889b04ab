// What other programs say to the agent over the session bus, and what it answers.

#include "tests/desktop/root/AgentOnDesktop.h"

namespace quillo::tests {
namespace {

class AgentWords : public AgentOnDesktop {
 protected:
  void SetUp() override {
    logIn();
    startAndAwaitWatching();
  }
};

TEST_F(AgentWords, ShouldRestartReadsThePreferencesAnewAndWatchesAgain) {
  home().writePreferences("PathToClamav = \"" + home().tree() + "\"\nPathToUpdateLog = \"" +
                          home().home() +
                          "/update.log\"\nQuilloLogProgress = true\n[[QuilloFolderArray]]\n"
                          "pathName = \"~/Elsewhere\"\nWatchSubdirs = true\n");
  home().save(home().home() + "/Elsewhere/before.txt", "before");
  const pid_t helper = home().helper();
  post("VantrelQuilloShouldRestart");
  ASSERT_TRUE(home().logHas("restartWatcher"));
  const std::string file = home().home() + "/Elsewhere/sentinel";
  while (home().linesWith("Noticed: " + file) == 0) {
    ASSERT_TRUE(home().isRunning());
    home().save(file, "sentinel");
  }
  EXPECT_NE(home().helper(), helper);
}

TEST_F(AgentWords, ShouldQuitEndsTheAgentWhichSaysThatItHasQuit) {
  post("VantrelQuilloShouldQuit");
  EXPECT_EQ(home().awaitEnd(), 0);
  EXPECT_TRUE(bus().hears("VantrelQuilloHasQuit", "('VantrelQuillo',)"));
}

TEST_F(AgentWords, ValueForKeyRestartsWatching) {
  EXPECT_NE(valueForKey("restartWatchingViaAS").find("string \"Restart Requested\""),
            std::string::npos);
  EXPECT_TRUE(home().logHas("restartWatcher"));
}

TEST_F(AgentWords, ValueForAnyOtherKeyIsAnError) {
  EXPECT_NE(valueForKey("anything").find("org.vantrel.VantrelQuillo.Error.UnknownKey"),
            std::string::npos);
}

TEST_F(AgentWords, ASecondAgentOfTheSameUserShowsTheFirstAndEndsAtOnce) {
  ASSERT_EQ(session().screen().countWindows("Vantrel Quillo"), 0U);
  EXPECT_EQ(home().runSecondAgent(), 0);
  EXPECT_TRUE(showsWindows(1, "Vantrel Quillo"));
  EXPECT_TRUE(home().isRunning());
}

}  // namespace
}  // namespace quillo::tests
