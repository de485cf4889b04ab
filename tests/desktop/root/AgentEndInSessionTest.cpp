// What the log says at every kind of end.

#include <signal.h>

#include "tests/desktop/root/AgentOnDesktop.h"

namespace quillo::tests {
namespace {

class AgentEnd : public AgentOnDesktop {
 protected:
  static constexpr int restarts = 8;

  // Eight restarts with a preference of the wrong kind, which each of them reports.
  void SetUp() override {
    logIn("ScanEmail = 3\n");
    startAndAwaitWatching();
    for (int i = 1; i <= restarts; ++i) {
      post("VantrelQuilloShouldRestart");
      ASSERT_TRUE(home().logHas("scan email files", i + 1));
    }
  }
  void expectEverythingLogged() {
    EXPECT_EQ(home().linesWith("restartWatcher"), restarts);
    // Six of the nine, and the line that counts.
    EXPECT_EQ(home().linesWith("Preference ScanEmail"), 7);
  }
};

TEST_F(AgentEnd, ByASignalReportsWhatWasCounted) {
  EXPECT_EQ(home().stop(), 0);
  expectEverythingLogged();
}

TEST_F(AgentEnd, ByARequestOfAnotherApplicationReportsWhatWasCounted) {
  post("VantrelQuilloShouldQuit");
  EXPECT_EQ(home().awaitEnd(), 0);
  expectEverythingLogged();
}

}  // namespace
}  // namespace quillo::tests
