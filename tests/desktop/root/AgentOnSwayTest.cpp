// The agent on a tiling Wayland desktop.

#include "tests/desktop/root/AgentOnSway.h"

namespace quillo::tests {
namespace {

TEST_F(AgentOnSway, ShowsItsIconInTheBar) {
  logIn();
  session().startBar();
  startAndAwaitWatching();
  EXPECT_NO_THROW(iconArea());
  session().keepPicture("sway-icon");
}

TEST_F(AgentOnSway, WarnsOfASavedFileInAWindow) {
  logIn();
  openNotepad();
  startAndAwaitWatching();
  const Window warning = warningOf("invoice.pdf.com");
  session().keepPicture("sway-warning");
  EXPECT_TRUE(QRect(QPoint(), session().size()).contains(warning.area));
}

}  // namespace
}  // namespace quillo::tests
