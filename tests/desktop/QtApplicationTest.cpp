#include <gtest/gtest.h>

#include "platform/linux/LinuxFolders.h"
#include "platform/linux/QtApplication.h"
#include "posix/ChildProcess.h"

namespace quillo {
namespace {

TEST(QtApplication, IsAliveDuringAWaitAlsoForWhatWasPostedBeforeTheWaitBegan) {
  ChildProcess application(
      {.launchPath = LinuxFolders::pathOfThisProgram(), .arguments = {"--wait-among-posted"}});
  EXPECT_EQ(application.waitUntilExit(), 0);
}

}  // namespace
}  // namespace quillo
