#include <glib.h>
#include <gtest/gtest.h>

#include <QtGlobal>
#include <vector>

#include "platform/linux/services/LinuxSystemLog.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

class LibraryMessagesTest : public testing::Test {
 protected:
  PassingClock clock;
  Lines system;
  Lines console;
  LinuxSystemLog log{clock, [this](const std::string& line) { system.push_back(line); },
                     [this](const std::string& line) { console.push_back(line); }};
};

TEST_F(LibraryMessagesTest, OfQtGoToTheSystemLogAlone) {
  const LibraryMessages messages(log);
  testing::internal::CaptureStderr();
  qWarning("Could not load the Qt platform plugin");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(system, Lines{"Qt: Could not load the Qt platform plugin"});
  EXPECT_EQ(console, Lines());
}

TEST_F(LibraryMessagesTest, OfGlibGoToTheSystemLogAlone) {
  const LibraryMessages messages(log);
  testing::internal::CaptureStderr();
  g_log("GLib-GIO", G_LOG_LEVEL_WARNING, "no such thing");
  g_log("GLib-GIO", G_LOG_LEVEL_DEBUG, "nobody asked");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  ASSERT_EQ(system.size(), 1U);
  EXPECT_NE(system[0].find("no such thing"), std::string::npos) << system[0];
  EXPECT_EQ(console, Lines());
}

TEST_F(LibraryMessagesTest, AreWrittenAFewTimesEachAndThenCounted) {
  const LibraryMessages messages(log);
  for (int i = 0; i < 100; ++i) {
    qWarning("again");
  }
  EXPECT_EQ(system.size(), 6U);
  log.logRepeats(true);
  EXPECT_EQ(system.back(), "Qt: again (repeated 94 times)");
  EXPECT_EQ(console, Lines());
}

TEST_F(LibraryMessagesTest, AreTheLibrariesOwnMatterAgainWithoutIt) {
  { const LibraryMessages messages(log); }
  testing::internal::CaptureStderr();
  g_log("GLib-GIO", G_LOG_LEVEL_WARNING, "no such thing");
  EXPECT_NE(testing::internal::GetCapturedStderr().find("no such thing"), std::string::npos);
  EXPECT_EQ(system, Lines());
}

TEST_F(LibraryMessagesTest, ThatEndTheProcessAreWrittenToStandardErrorToo) {
  EXPECT_DEATH(
      {
        const LibraryMessages messages(log);
        qFatal("no display");
      },
      "no display");
}

}  // namespace
}  // namespace quillo
