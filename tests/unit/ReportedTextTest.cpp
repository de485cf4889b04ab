#include <gtest/gtest.h>

#include <string>

#include "clamav/Verdict.h"
#include "posix/Text.h"

namespace quillo {
namespace {

TEST(ReportedText, ShowsOtherBytesThanUtf8AsNumbers) {
  EXPECT_EQ(reportedText("gr\xC3\xBC\xC3\x9F"), "gr\xC3\xBC\xC3\x9F");
  EXPECT_EQ(reportedText("a\xFF\xFE"), "a\\xFF\\xFE");
  EXPECT_EQ(reportedText("cut \xC3"), "cut \\xC3");
  EXPECT_EQ(reportedText("two\nlines\r\x1B[0m\x7F"), "two\\x0Alines\\x0D\\x1B[0m\\x7F");
}

TEST(ReportedText, LeavesBackslashesThatMeanNothing) {
  for (const char* name : {"a\\b", "\\", "\\x", "\\xF", "\\x0a", "\\xfF", "\\\\xG0", "end\\x4"}) {
    EXPECT_EQ(reportedText(name), name);
  }
}

TEST(ReportedText, TellsANameThatLooksLikeItFromOneThatNeedsIt) {
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
  const std::string pieces[] = {"\\", "x", "5C", "\n", "\xFF", "F", "0", "\xC3\xBC", "\\x41", all};
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
