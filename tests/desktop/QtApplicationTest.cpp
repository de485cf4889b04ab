#include <gtest/gtest.h>

#include "platform/linux/services/LinuxFolders.h"
#include "platform/linux/services/QtApplication.h"
#include "posix/ChildProcess.h"
#include "tests/desktop/support/DesktopSession.h"
#include "tests/desktop/support/FaceProgram.h"

namespace quillo {
namespace {

TEST(QtApplication, IsAliveDuringAWaitAlsoForWhatWasPostedBeforeTheWaitBegan) {
  ChildProcess application(
      {.launchPath = LinuxFolders::pathOfThisProgram(), .arguments = {"--wait-among-posted"}});
  EXPECT_EQ(application.waitUntilExit(), 0);
}

TEST(QtApplication, LivesThroughWhateverIsThrownOnItsMainThread) {
  ChildProcess application(
      {.launchPath = LinuxFolders::pathOfThisProgram(), .arguments = {"--throw-everywhere"}});
  EXPECT_EQ(application.waitUntilExit(), 0);
}

TEST(QtApplication, WaitsAlsoWhereNoThreadIsToBeHad) {
  ChildProcess application(
      {.launchPath = LinuxFolders::pathOfThisProgram(), .arguments = {"--wait-without-threads"}});
  EXPECT_EQ(application.waitUntilExit(), 0);
}

TEST(QtApplication, LeavesTheEnvironmentAsTheUserHasIt) {
  DesktopSession session;
  FaceProgram chosen(session);
  EXPECT_EQ(chosen.ask("environment QT_QPA_PLATFORM", "environment "), "(not set)");
  FaceProgram given(session, {"QT_QPA_PLATFORM=offscreen"});
  EXPECT_EQ(given.ask("environment QT_QPA_PLATFORM", "environment "), "offscreen");
}

}  // namespace
}  // namespace quillo
