#include <gtest/gtest.h>

#include "platform/linux/services/LinuxFolders.h"
#include "platform/linux/services/QtApplication.h"
#include "posix/ChildProcess.h"
#include "tests/desktop/support/InterfaceProgram.h"
#include "tests/desktop/support/session/DesktopSession.h"

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
  InterfaceProgram chosen(session);
  EXPECT_EQ(chosen.ask("environment QT_QPA_PLATFORM", "environment "), "(not set)");
  InterfaceProgram given(session, {"QT_QPA_PLATFORM=offscreen"});
  EXPECT_EQ(given.ask("environment QT_QPA_PLATFORM", "environment "), "offscreen");
}

}  // namespace
}  // namespace quillo
