#include <gtest/gtest.h>

#include <string>

#include "clamav/Verdict.h"
#include "posix/Text.h"

namespace quillo {
namespace {

using Kind = Verdict::Kind;

TEST(Verdict, OfAnInfectionHasPathAndThreat) {
  const Verdict verdict = Verdict::parse("/home/u/b.zip: Eicar-Test-Signature FOUND");
  EXPECT_EQ(verdict.kind, Kind::infected);
  EXPECT_EQ(verdict.path, "/home/u/b.zip");
  EXPECT_EQ(verdict.threat, "Eicar-Test-Signature");
  EXPECT_EQ(verdict.line, "/home/u/b.zip: Eicar-Test-Signature FOUND");
  EXPECT_EQ(verdict.whereabouts, Verdict::Whereabouts::unsaid);
}

TEST(Verdict, IsDecidedByTheLinesEndWhateverAFileIsCalled) {
  EXPECT_EQ(Verdict::parse("/u/a: Eicar FOUND: OK").kind, Kind::clean);
  EXPECT_EQ(Verdict::parse("/u/a: Eicar FOUND: OK").path, "/u/a: Eicar FOUND");
  EXPECT_EQ(Verdict::parse("/u/a: OK: X FOUND").kind, Kind::infected);
  EXPECT_EQ(Verdict::parse("/u/a: OK: X FOUND").path, "/u/a: OK");
  EXPECT_EQ(Verdict::parse("/u/a: Not scanned: b: OK").kind, Kind::clean);
  EXPECT_EQ(Verdict::parse("/u/a: moved to 'b': OK").kind, Kind::clean);
}

TEST(Verdict, OfAFileThatWasNotScannedSaysWhy) {
  const Verdict verdict = Verdict::parse("/u/x: y: Not scanned: permission denied");
  EXPECT_EQ(verdict.kind, Kind::notScanned);
  EXPECT_EQ(verdict.path, "/u/x: y");
  EXPECT_EQ(verdict.reason, "permission denied");
}

TEST(Verdict, KnowsTheEnginesOwnWordsForWhatItDidNotScan) {
  EXPECT_EQ(Verdict::parse("/u/x: Failed to open file").kind, Kind::notScanned);
  EXPECT_EQ(Verdict::parse("/u/x: Failed to open file").path, "/u/x");
  EXPECT_EQ(Verdict::parse("ERROR: Can't access file /u/x").path, "/u/x");
  EXPECT_EQ(Verdict::parse("WARNING: /u/x: Not supported file type").path, "/u/x");
}

TEST(Verdict, KnowsTheEnginesWordsForADaemonThatHasGone) {
  using Gone = Verdict::DaemonGone;
  for (const char* line : {"WARNING: Can't connect to clamd.",
                           "ERROR: Could not connect to clamd on LocalSocket /s: No such file",
                           "ERROR: Clamd closed the connection before scanning all files."}) {
    EXPECT_EQ(Verdict::parse(line).kind, Kind::message) << line;
    EXPECT_EQ(Verdict::parse(line).daemonGone, Gone::before) << line;
  }
  const Verdict lost = Verdict::parse("/u/x: no reply from clamd");
  EXPECT_EQ(lost.kind, Kind::notScanned);
  EXPECT_EQ(lost.path, "/u/x");
  EXPECT_EQ(lost.daemonGone, Gone::meanwhile);
  for (const char* line : {"/u/x: OK", "/u/x: Failed to open file", "/u/x: Not scanned: why",
                           "/ERROR: Could not connect to clamd on: OK", "ERROR: why"}) {
    EXPECT_EQ(Verdict::parse(line).daemonGone, Gone::no) << line;
  }
}

TEST(Verdict, OfAMoveSaysWhereToOrWhyNot) {
  const Verdict moved = Verdict::parse("/u/x: moved to '/q/x.001'");
  EXPECT_EQ(moved.kind, Kind::moved);
  EXPECT_EQ(moved.destination, "/q/x.001");
  const Verdict stayed = Verdict::parse("/u/x: not moved: no space left on device");
  EXPECT_EQ(stayed.kind, Kind::notMoved);
  EXPECT_EQ(stayed.reason, "no space left on device");
}

TEST(Verdict, TakesTheRestForTheEnginesOwnMessages) {
  for (const char* line : {"", "----------- SCAN SUMMARY -----------", "Infected files: 1", "x: OK",
                           "WARNING: Can't connect to clamd.", " FOUND"}) {
    EXPECT_EQ(Verdict::parse(line).kind, Kind::message) << line;
    EXPECT_EQ(Verdict::parse(line).line, line);
  }
}

TEST(Verdict, DiscernsALikenessFromAKnownThreat) {
  EXPECT_TRUE(Verdict::parse("/x: Heuristics.Phishing.Email FOUND").isHeuristic());
  EXPECT_FALSE(Verdict::parse("/x: Win.Heuristics.A FOUND").isHeuristic());
}

TEST(ReportedText, ShowsOtherBytesThanUtf8AsNumbers) {
  EXPECT_EQ(reportedText("gr\xC3\xBC\xC3\x9F"), "gr\xC3\xBC\xC3\x9F");
  EXPECT_EQ(reportedText("a\xFF\xFE"), "a\\xFF\\xFE");
  EXPECT_EQ(reportedText("cut \xC3"), "cut \\xC3");
  EXPECT_EQ(reportedText("two\nlines\r\x1B[0m\x7F"), "two\\x0Alines\\x0D\\x1B[0m\\x7F");
}

TEST(ReportedText, ShowsCharactersThatHide) {
  // C1 controls, a soft hyphen, a zero-width space, an override of the direction, a byte-order
  // mark.
  EXPECT_EQ(reportedText("a\xC2\x9B"
                         "31m"),
            "a\\xC2\\x9B31m");
  EXPECT_EQ(reportedText("\xC2\xAD"), "\\xC2\\xAD");
  EXPECT_EQ(reportedText("\xE2\x80\x8B"), "\\xE2\\x80\\x8B");
  EXPECT_EQ(reportedText("gpj.\xE2\x80\xAE"
                         "exe"),
            "gpj.\\xE2\\x80\\xAEexe");
  EXPECT_EQ(reportedText("\xEF\xBB\xBF"), "\\xEF\\xBB\\xBF");
  // No-break space, joiner of emoji, a script that is written from right to left.
  for (const char* text : {"a\xC2\xA0:", "\xE2\x80\x8D", "\xD7\xA9", "\xF0\x9F\x98\x80"}) {
    EXPECT_EQ(reportedText(text), text);
  }
}

TEST(ReportedText, LeavesBackslashesThatMeanNothing) {
  for (const char* name : {"a\\b", "\\", "\\x", "\\xF", "\\x0a", "\\xfF", "\\\\xG0", "end\\x4"}) {
    EXPECT_EQ(reportedText(name), name);
  }
}

TEST(ReportedText, DiscernsANameThatLooksLikeItFromOneThatNeedsIt) {
  EXPECT_EQ(reportedText("a\\xFF"), "a\\x5CxFF");
  EXPECT_NE(reportedText("a\\xFF"), reportedText("a\xFF"));
  EXPECT_EQ(reportedText("a\\x5CxFF"), "a\\x5Cx5CxFF");
}

TEST(ReportedText, GivesEveryByteBack) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) {
    all += static_cast<char>(byte);
  }
  // Everything of three pieces that can be near a backslash.
  const std::string pieces[] = {"\\", "x",        "5C",    "\n",           "\xFF", "F",
                                "0",  "\xC3\xBC", "\\x41", "\xE2\x80\xAE", all};
  for (const std::string& a : pieces) {
    for (const std::string& b : pieces) {
      for (const std::string& c : pieces) {
        const std::string bytes = a + b + c;
        const std::string text = reportedText(bytes);
        EXPECT_EQ(bytesOfReported(text), bytes) << text;
        EXPECT_TRUE(isValidUtf8(text));
        EXPECT_EQ(text.find('\n'), std::string::npos);
      }
    }
  }
}

}  // namespace
}  // namespace quillo
