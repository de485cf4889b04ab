// What the real agent answers over the bus of its session.

#include "tests/desktop/root/AgentOnDesktop.h"

namespace quillo::tests {
namespace {

class AgentBusStatus : public AgentOnDesktop {
 protected:
  void SetUp() override {
    logIn();
    startAndAwaitWatching();
  }
  std::string status() {
    return outputOf({"dbus-send", "--session", "--print-reply", "--dest=org.vantrel.VantrelQuillo",
                     "/org/vantrel/VantrelQuillo", "org.vantrel.VantrelQuillo.Status"});
  }
};

TEST_F(AgentBusStatus, IsThatOfAnAgentThatWatches) {
  const std::string answer = status();
  for (const char* said : {"string \"state\"", "string \"watching\"", "string \"watchedFolders\"",
                           "string \"definitionFolder\"", "uint32 1"}) {
    EXPECT_NE(answer.find(said), std::string::npos) << said << "\n" << answer;
  }
}

TEST_F(AgentBusStatus, IsSentToNobodyWhoHasNotAsked) {
  post("VantrelQuilloShouldRestart");
  ASSERT_TRUE(home().logHas("scan email files", 2));
  EXPECT_EQ(bus().count("StatusChanged"), 0);
}

}  // namespace
}  // namespace quillo::tests
