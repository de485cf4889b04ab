// A find on a desktop whose notification server shows buttons only when it is asked for them.

#include <filesystem>

#include "tests/desktop/root/AgentOnSway.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;

class AgentFindOnSway : public AgentOnSway {
 protected:
  void SetUp() override {
    logIn();
    session().startNotificationServer();
    startAndAwaitWatching();
  }
  // Whether the server shows one of that summary, and its number.
  std::string idOf(const std::string& summary) {
    const std::string list = outputOf({"makoctl", "list"});
    std::size_t at = list.find("\"" + summary + "\"");
    for (const char* mark : {"\"id\"", "\"data\"", ":"}) {
      at = at == std::string::npos ? at : list.find(mark, at + 1);
    }
    return at == std::string::npos ? "" : std::to_string(std::stoi(list.substr(at + 1)));
  }
};

TEST_F(AgentFindOnSway, GoesToTheTrashByTheButtonOfItsNotification) {
  const std::string path = home().saveInfected("invoice.pdf.com");
  const std::string summary = "Malware found: invoice.pdf.com";
  std::string id;
  ASSERT_TRUE(session().eventually([&] { return !(id = idOf(summary)).empty(); }));
  ASSERT_TRUE(session().showsWindows(1, warningTitle));
  session().keepPicture("sway-notification-of-a-find");
  const std::string trash = "1";
  outputOf({"makoctl", "invoke", "-n", id, trash});
  EXPECT_TRUE(home().logHas(path + ": moved to the Trash by the user"));
  EXPECT_FALSE(fs::exists(path));
  EXPECT_TRUE(fs::exists(home().home() + "/.local/share/Trash/files/invoice.pdf.com"));
  EXPECT_TRUE(session().showsWindows(0, warningTitle));
  EXPECT_TRUE(session().eventually([&] { return idOf(summary).empty(); }));
  // The hint that made room for it stands again.
  EXPECT_NE(idOf("Vantrel Quillo"), "");
}

TEST_F(AgentFindOnSway, IsNoLongerToldWhenSomebodyElseMovedItsFile) {
  const std::string path = home().saveInfected("bad.com");
  ASSERT_TRUE(session().eventually([&] { return !idOf("Malware found: bad.com").empty(); }));
  fs::rename(path, home().home() + "/elsewhere.com");
  EXPECT_TRUE(session().eventually([&] { return idOf("Malware found: bad.com").empty(); }));
}

}  // namespace
}  // namespace quillo::tests
