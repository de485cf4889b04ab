// The icon when the panel comes and goes.

#include "tests/desktop/root/AgentOnDesktop.h"

namespace quillo::tests {
namespace {

class AgentPanel : public AgentOnDesktop {
 protected:
  void SetUp() override { logIn(); }
};

TEST_F(AgentPanel, ThatIsKilledAndStartedAgainShowsTheIconAgain) {
  session().startPanel();
  startAndAwaitWatching();
  ASSERT_TRUE(showsIcon(Icon::watching));
  session().stopPanel();
  ASSERT_TRUE(showsIcon(Icon::none));
  session().startPanel();
  EXPECT_TRUE(showsIcon(Icon::watching));
  EXPECT_FALSE(session().bus().menuLayout(statusItem()).empty());
}

TEST_F(AgentPanel, ThatComesLongAfterTheAgentShowsTheIcon) {
  startAndAwaitWatching();
  const std::string file = home().save("clean.txt", "clean");
  ASSERT_TRUE(home().logHas(file + ": OK"));
  session().startPanel();
  EXPECT_TRUE(showsIcon(Icon::watching));
  openMenu();
}

}  // namespace
}  // namespace quillo::tests
