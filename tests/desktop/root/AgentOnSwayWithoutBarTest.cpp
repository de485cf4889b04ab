// The agent under sway without a bar: nothing shows its icon.

#include "tests/desktop/root/AgentOnSway.h"

namespace quillo::tests {
namespace {

class AgentOnSwayWithoutBar : public AgentOnSway {
 protected:
  void SetUp() override {
    logIn();
    session().startNotificationServer();
  }
};

TEST_F(AgentOnSwayWithoutBar, SaysThatItGuardsAndHowItIsToBeReached) {
  startAndAwaitWatching();
  EXPECT_TRUE(bus().hears("Notify", "This desktop has no place for the icon"));
  session().keepPicture("sway-without-bar");
}

TEST_F(AgentOnSwayWithoutBar, ShowsItsWindowWhenItIsStartedAgain) {
  startAndAwaitWatching();
  EXPECT_EQ(home().runSecondAgent(), 0);
  EXPECT_TRUE(session().showsWindows(1, "Vantrel Quillo"));
  session().keepPicture("sway-second-start");
}

}  // namespace
}  // namespace quillo::tests
