#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/linux/services/LinesOfActions.h"
#include "platform/linux/services/LinuxSystemLog.h"
#include "platform/linux/text/VisibleText.h"
#include "tests/support/ManualClock.h"

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

  PassingClock clock;
  Lines system;
  Lines console;
  LinuxSystemLog log{clock, [this](const std::string& line) { system.push_back(line); },
                     [this](const std::string& line) { console.push_back(line); }};
};

TEST_F(LinuxSystemLogTest, StampsTheConsoleAndNotTheSystemLog) {
  log.log("Nighty night!\n");
  EXPECT_EQ(system, Lines{"Nighty night!"});
  EXPECT_EQ(console, Lines{"2026-01-02 03:04:05 Nighty night!\n"});
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
  ASSERT_EQ(system.size(), 18U);
  EXPECT_EQ(Lines(system.end() - 3, system.end()),
            (Lines{"cannot start", "trying again", "gave up"}));
  clock.advance(seconds(60));
  log.logRepeats();
  EXPECT_EQ(Lines(system.begin() + 18, system.end()),
            (Lines{"cannot start (repeated 9,994 times)", "trying again (repeated 9,994 times)",
                   "gave up (repeated 9,994 times)"}));
}

TEST_F(LinuxSystemLogTest, ReportsWhatItCountedBeforeItEnds) {
  Lines reported;
  {
    LinuxSystemLog ending(
        clock, [&](const std::string& line) { reported.push_back(line); },
        [](const std::string&) {});
    for (int i = 0; i < 7; ++i) {
      ending.log("again");
    }
  }
  ASSERT_EQ(reported.size(), 7U);
  EXPECT_EQ(reported.back(), "again (repeated once)");
}

TEST_F(LinuxSystemLogTest, ReportsWhatItCountedAlsoWhenALibraryEndsTheProcess) {
  EXPECT_EXIT(
      {
        auto* const ofThisProcess = new LinuxSystemLog(clock);
        for (int i = 0; i < 9; ++i) {
          ofThisProcess->log("again");
        }
        std::exit(3);
      },
      testing::ExitedWithCode(3), "again \\(repeated 3 times\\)");
}

TEST_F(LinuxSystemLogTest, WritesEachLineThatReportsAnActionHoweverManyThereAre) {
  for (int i = 0; i < 20; ++i) {
    for (const std::string_view line : linesOfActions) {
      log.log(std::string(line) + "1\n");
    }
  }
  EXPECT_EQ(system.size(), 20 * linesOfActions.size());
  clock.advance(seconds(60));
  log.logRepeats();
  EXPECT_EQ(system.size(), 20 * linesOfActions.size());
}

// The texts of the sources, each literal in one piece.
std::string literalsOfTheCore() {
  std::string all;
  for (const char* folder : {"agent", "engine", "posix", "scanning", "settings", "watchers"}) {
    for (const auto& file :
         std::filesystem::directory_iterator(std::string(QUILLO_SOURCE_DIR "/") + folder)) {
      std::ifstream source(file.path());
      const std::string text((std::istreambuf_iterator<char>(source)), {});
      for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t next = text[at] == '"' ? text.find_first_not_of(" \n", at + 1) : at;
        if (text[at] == '"' && next != std::string::npos && next > at + 1 && text[next] == '"') {
          at = next;
        } else {
          all += text[at];
        }
      }
    }
  }
  return all;
}

TEST(LinesOfActions, AreLinesThatTheAgentWrites) {
  const std::string literals = literalsOfTheCore();
  for (const std::string_view line : linesOfActions) {
    EXPECT_NE(literals.find("\"" + std::string(line)), std::string::npos) << line;
  }
}

// What passes when the line comes that many times.
Lines passMany(RepeatFilter& filter, const std::string& line, int times) {
  Lines all;
  for (int i = 0; i < times; ++i) {
    const Lines some = filter.pass(line);
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

TEST(RepeatFilterTest, CountsALineOnlyAfterItsFifthRepeatInAMinute) {
  PassingClock clock;
  RepeatFilter filter(clock);
  EXPECT_EQ(passMany(filter, "x", 6), Lines(6, "x"));
  EXPECT_EQ(passMany(filter, "x", 3), Lines());
  clock.advance(seconds(59));
  EXPECT_EQ(filter.takeDue(), Lines());
  clock.advance(seconds(1));
  EXPECT_EQ(filter.takeDue(), Lines{"x (repeated 3 times)"});
}

TEST(RepeatFilterTest, BeginsANewMinuteWhenOneIsOver) {
  PassingClock clock;
  RepeatFilter filter(clock);
  passMany(filter, "x", 7);
  clock.advance(seconds(60));
  EXPECT_EQ(filter.pass("x"), (Lines{"x (repeated once)", "x"}));
  EXPECT_EQ(passMany(filter, "x", 6), Lines(5, "x"));
  clock.advance(seconds(60));
  EXPECT_EQ(filter.pass("y"), (Lines{"x (repeated once)", "y"}));
}

TEST(RepeatFilterTest, SaysNothingOfALineOfWhichEachRepeatWasWritten) {
  PassingClock clock;
  RepeatFilter filter(clock);
  passMany(filter, "x", 6);
  clock.advance(seconds(60));
  EXPECT_EQ(filter.takeAll(), Lines());
}

TEST(RepeatFilterTest, ForgetsTheOldestLineAndLosesNoCount) {
  PassingClock clock;
  RepeatFilter filter(clock);
  passMany(filter, "first", 4219);
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
