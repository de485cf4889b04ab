#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/linux/LinuxSystemLog.h"
#include "platform/linux/VisibleText.h"
#include "tests/desktop/HandClock.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using std::chrono::seconds;

class LinuxSystemLogTest : public testing::Test {
 protected:
  LinuxSystemLogTest() {
    setenv("TZ", "UTC", 1);
    tzset();
  }

  HandClock clock;
  Lines system;
  Lines console;
  LinuxSystemLog log{clock, [this](const std::string& line) { system.push_back(line); },
                     [this](const std::string& line) { console.push_back(line); }};
};

TEST_F(LinuxSystemLogTest, StampsTheConsoleAndNotTheSystemLog) {
  log.log("Nighty night!\n");
  EXPECT_EQ(system, Lines{"Nighty night!"});
  EXPECT_EQ(console, Lines{"2026-11-21 07:10:00 Nighty night!\n"});
}

TEST_F(LinuxSystemLogTest, KeepsAMessageOnOneLineOfReadableText) {
  log.log("a\nb\x1b[31m\xff \xc3\xa9");
  EXPECT_EQ(system, Lines{"a\\nb\\x1b[31m\\xff \xc3\xa9"});
}

TEST_F(LinuxSystemLogTest, CutsAnEndlessMessageInTheMiddle) {
  log.log(std::string(100000, 'a') + "end");
  ASSERT_EQ(system.size(), 1U);
  EXPECT_LT(system[0].size(), 5000U);
  EXPECT_EQ(system[0].substr(system[0].size() - 4), "aend");
}

TEST_F(LinuxSystemLogTest, WritesTensOfThousandsOfAlternatingFailuresAsAFewLines) {
  for (int i = 0; i < 10000; ++i) {
    log.log("cannot start");
    log.log("trying again");
    log.log("gave up");
  }
  EXPECT_EQ(system, (Lines{"cannot start", "trying again", "gave up"}));
  clock.advance(seconds(60));
  log.tellRepeats();
  EXPECT_EQ(Lines(system.begin() + 3, system.end()),
            (Lines{"cannot start (repeated 9,999 times)", "trying again (repeated 9,999 times)",
                   "gave up (repeated 9,999 times)"}));
}

TEST_F(LinuxSystemLogTest, TellsWhatItCountedBeforeItEnds) {
  Lines told;
  {
    LinuxSystemLog ending(
        clock, [&](const std::string& line) { told.push_back(line); }, [](const std::string&) {});
    ending.log("again");
    ending.log("again");
  }
  EXPECT_EQ(told, (Lines{"again", "again (repeated once)"}));
}

TEST(RepeatFilterTest, CountsALineAgainAfterItWasToldOf) {
  HandClock clock;
  RepeatFilter filter(clock);
  EXPECT_EQ(filter.pass("x"), Lines{"x"});
  clock.advance(seconds(59));
  EXPECT_EQ(filter.pass("x"), Lines());
  EXPECT_EQ(filter.takeDue(), Lines());
  clock.advance(seconds(1));
  // The minute is over: the count is told, and this one is the first of the next.
  EXPECT_EQ(filter.pass("x"), Lines{"x (repeated once)"});
  clock.advance(seconds(60));
  EXPECT_EQ(filter.pass("y"), (Lines{"x (repeated once)", "y"}));
  clock.advance(seconds(60));
  EXPECT_EQ(filter.takeDue(), Lines());
  EXPECT_EQ(filter.pass("x"), Lines{"x"});
}

TEST(RepeatFilterTest, WritesALineAgainThatDidNotRepeatWithinItsMinute) {
  HandClock clock;
  RepeatFilter filter(clock);
  EXPECT_EQ(filter.pass("x"), Lines{"x"});
  clock.advance(seconds(60));
  EXPECT_EQ(filter.pass("x"), Lines{"x"});
}

TEST(RepeatFilterTest, ForgetsTheOldestLineAndLosesNoCount) {
  HandClock clock;
  RepeatFilter filter(clock);
  filter.pass("first");
  for (int i = 0; i < 4213; ++i) {
    filter.pass("first");
  }
  Lines out;
  for (std::size_t i = 0; i < RepeatFilter::mostLines; ++i) {
    out = filter.pass("line " + std::to_string(i));
  }
  EXPECT_EQ(out, (Lines{"first (repeated 4,213 times)", "line 63"}));
  EXPECT_EQ(filter.takeAll(), Lines());
}

TEST(VisibleText, ShowsWhatHides) {
  EXPECT_EQ(visibleText("a\tb\r\n"), "a\tb\\x0d\\n");
  EXPECT_EQ(visibleText("gpj\xe2\x80\xae.exe"), "gpj\\u202e.exe");
  EXPECT_EQ(visibleText(std::string("\0\x7f", 2)), "\\x00\\x7f");
  EXPECT_EQ(visibleText("\xc2\x85\xe6\x97\xa5\xf0\x9f\x98\x80"),
            "\\u0085\xe6\x97\xa5\xf0\x9f\x98\x80");
  EXPECT_EQ(visibleText("\xed\xa0\x80"), "\\xed\\xa0\\x80");
  EXPECT_EQ(visibleLines("a\nb\tc\x07"), "a\nb c\\x07");
}

TEST(VisibleText, IsCutBetweenCharacters) {
  EXPECT_EQ(cutInTheMiddle("short", 5), "short");
  EXPECT_EQ(cutInTheMiddle("abcdefghij", 4), "ab…ij");
  EXPECT_EQ(cutInTheMiddle("é日é日é日", 8), "é…日");
}

}  // namespace
}  // namespace quillo
