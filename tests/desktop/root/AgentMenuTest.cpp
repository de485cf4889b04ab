// The status icon and its menu, clicked with the mouse.

#include <signal.h>

#include "tests/desktop/root/AgentOnDesktop.h"

namespace quillo::tests {
namespace {

// Places in the menu, from the top.
enum Item : std::size_t { startItem, stopItem, restartItem, foldersItem, abortItem };

class AgentMenu : public AgentOnDesktop {
 protected:
  void SetUp() override {
    logIn();
    session().startPanel();
    startAndAwaitWatching();
    ASSERT_TRUE(showsIcon(Icon::watching));
  }
};

TEST_F(AgentMenu, OpensWithAClickOnTheIcon) {
  session().keepPicture("agent-watching");
  openMenu();
  session().keepPicture("agent-menu");
}

TEST_F(AgentMenu, ReportsToThePanelWhichItemsCanBeChosen) {
  const std::string layout = session().bus().menuLayout(statusItem());
  for (const char* item :
       {"'enabled': <false>, 'label': <'_Start Watching'>",
        "'enabled': <true>, 'label': <'S_top Watching'>", "'label': <'~/Downloads'>",
        "'enabled': <false>, 'label': <'_Abort Scans'>",
        "'enabled': <true>, 'label': <'_Quit Vantrel Quillo'>"}) {
    EXPECT_NE(layout.find(item), std::string::npos) << item << " is not in " << layout;
  }
}

TEST_F(AgentMenu, StopsWatchingAndStartsAgain) {
  const pid_t helper = home().helper();
  chooseItem(openMenu(), stopItem);
  ASSERT_TRUE(showsIcon(Icon::idle));
  EXPECT_TRUE(itemBecomes("_Start Watching", true));
  EXPECT_EQ(home().helper(), -1);
  session().keepPicture("idle");
  chooseItem(openMenu(), startItem);
  ASSERT_TRUE(showsIcon(Icon::watching));
  home().awaitWatching("again");
  EXPECT_NE(home().helper(), helper);
}

TEST_F(AgentMenu, AbortsAScanThatHangs) {
  ASSERT_TRUE(home().logHas("Scanned (status 0): " + home().guarded("sentinel")));
  const pid_t engine = home().daemon();
  ASSERT_EQ(kill(engine, SIGSTOP), 0);
  const std::string file = home().save("slow.txt", "slow");
  ASSERT_TRUE(home().logHas("Scanning: " + file));
  ASSERT_TRUE(showsIcon(Icon::scanning));
  ASSERT_TRUE(itemBecomes("_Abort Scans", true));
  const QRect menu = openMenu();
  chooseItem(menu, abortItem);
  const QRect confirmation = submenuOf(menu);
  session().keepPicture("scanning");
  chooseItem(confirmation, 0);
  EXPECT_TRUE(home().logHas("Scanned (status 9): " + file));
  ASSERT_EQ(kill(engine, SIGCONT), 0);
  EXPECT_TRUE(showsIcon(Icon::watching));
}

// The icon when the panel comes and goes.
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
