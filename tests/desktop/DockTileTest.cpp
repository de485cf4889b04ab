#include <gtest/gtest.h>

#include "tests/desktop/support/DesktopSession.h"
#include "tests/desktop/support/FaceProgram.h"

namespace quillo {
namespace {

class DockTileTest : public testing::Test {
 protected:
  void SetUp() override {
    face.tell("dockimage dock_watching");
    face.tell("dockstate Watching two folders");
    face.tell("dockfolders /home/anna/Documents:/home/anna/Downloads");
    face.tell("verdict /home/anna/a.zip: Win.Test FOUND");
    ASSERT_EQ(face.ask("dock", "foreground "), "0");
    face.expect("focus Vantrel Quillo");
    ASSERT_TRUE(session.screen().eventually(
        [&] { return session.screen().countWindows("Vantrel Quillo") == 1; }));
  }

  DesktopSession session;
  FaceProgram face{session};
};

TEST_F(DockTileTest, SaysWhatTheAgentDoes) {
  session.keepPicture("dock-tile");
  EXPECT_EQ(face.ask("text theState", "text "), "Watching two folders");
}

TEST_F(DockTileTest, IsMinimisedWhenClosed) {
  session.press("alt+F4");
  face.expect("minimised");
  EXPECT_EQ(session.screen().countWindows("Vantrel Quillo"), 1U);
}

TEST_F(DockTileTest, QuitsFromItsOwnMenu) {
  session.press("ctrl+q");
  face.expect("terminated");
}

}  // namespace
}  // namespace quillo
