#include <gtest/gtest.h>

#include "clamav/ClamConf.h"

namespace quillo {
namespace {

using namespace std::string_literals;
using Text = std::optional<std::string>;

Text socketIn(const std::string& bytes) { return discernLocalSocket(bytes).path; }
int encodingOf(const std::string& bytes) { return discernLocalSocket(bytes).encoding; }

TEST(LocalSocketLine, TakesTheSocketBehindTheOption) {
  EXPECT_EQ(socketIn("LogFile /x\nLocalSocket /run/clamd.ctl\nUser me\n"), Text("/run/clamd.ctl"));
}

TEST(LocalSocketLine, TakesTheLastLineAndCountsComments) {
  EXPECT_EQ(socketIn("#LocalSocket /a\nLocalSocket /b\n"), Text("/b"));
  EXPECT_EQ(socketIn("LocalSocket /b\n#LocalSocket /a\n"), Text("/a"));
}

TEST(LocalSocketLine, CountsOnlyLinesOfThirteenCharacters) {
  EXPECT_EQ(socketIn("LocalSocket \n"), std::nullopt);
  EXPECT_EQ(socketIn("LocalSocket x\n"), Text("x"));
}

TEST(LocalSocketLine, NeedsTheBlankBehindTheOption) {
  EXPECT_EQ(socketIn("LocalSocketGroup clamav\nLocalSocketMode 666\nLocalSocket\t/tab\n"),
            std::nullopt);
}

TEST(LocalSocketLine, FindsTheOptionAnywhereInItsLine) {
  EXPECT_EQ(socketIn("  # see LocalSocket /a b "), Text("/a b "));
  EXPECT_EQ(socketIn("xLocalSocket "), Text(""));
}

TEST(LocalSocketLine, EndsTheSocketAtTheNextOptionOfTheLine) {
  EXPECT_EQ(socketIn("LocalSocket /a LocalSocket /b"), Text("/a "));
}

TEST(LocalSocketLine, KeepsACarriageReturnInTheSocket) {
  EXPECT_EQ(socketIn("LocalSocket /a\r\nUser me\r\n"), Text("/a\r"));
}

TEST(LocalSocketLine, HasNoSocketWithoutALineForIt) {
  EXPECT_EQ(socketIn(""), std::nullopt);
  EXPECT_EQ(socketIn("TCPSocket 3310\n"), std::nullopt);
}

TEST(LocalSocketLine, NumbersTheEncodingThatItFound) {
  EXPECT_EQ(encodingOf(""), 4);
  EXPECT_EQ(encodingOf("User me\n"), 4);
  EXPECT_EQ(encodingOf("User J\xC3\xB6rg\n"), 4);
  EXPECT_EQ(encodingOf("User J\xF6rg\n"), 5);
  EXPECT_EQ(encodingOf("\xFF\xFE"s), 10);
  EXPECT_EQ(LocalSocketLine().encoding, 0);
}

TEST(LocalSocketLine, KeepsTheBytesOfALatin1Path) {
  EXPECT_EQ(socketIn("LocalSocket /J\xF6rg"), Text("/J\xF6rg"));
}

TEST(LocalSocketLine, PassesOverAByteOrderMark) {
  const LocalSocketLine line = discernLocalSocket(
      "\xEF\xBB\xBF"
      "LocalSocket /d\n");
  EXPECT_EQ(line.encoding, 4);
  EXPECT_EQ(line.path, Text("/d"));
}

std::string utf16(const std::u16string& text, bool bigEndian) {
  std::string bytes = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit & 0xFF);
    bytes.push_back(bigEndian ? high : low);
    bytes.push_back(bigEndian ? low : high);
  }
  return bytes;
}

TEST(LocalSocketLine, ReadsUtf16OfBothByteOrders) {
  const std::u16string text = u"User me\nLocalSocket /\u00E4\u20AC\U0001F600\n";
  for (const bool bigEndian : {false, true}) {
    const LocalSocketLine line = discernLocalSocket(utf16(text, bigEndian));
    EXPECT_EQ(line.encoding, 10);
    EXPECT_EQ(line.path, Text("/\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"));
  }
}

TEST(LocalSocketLine, SurvivesUtf16CutOffInTheMiddle) {
  EXPECT_EQ(socketIn(utf16(u"LocalSocket /a", false) + "x"), Text("/a"));
  EXPECT_EQ(encodingOf(utf16(u"\xD83D", true)), 10);
}

}  // namespace
}  // namespace quillo
