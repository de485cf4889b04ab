#include <gtest/gtest.h>

#include <string>

#include "posix/Text.h"

namespace quillo {
namespace {

TEST(EscapedPath, leavesAPathWithoutALineBreakAsItIs) {
  EXPECT_EQ(escapedPathLine("/a/b c\\x0A\t\xff"), "/a/b c\\x0A\t\xff");
  EXPECT_EQ(escapedPathLine(""), "");
}

TEST(EscapedPath, writesLineBreaksAndBackslashesAsHexDigits) {
  EXPECT_EQ(escapedPathLine("/a/two\nlines\\n\xff"), "\\/a/two\\x0Alines\\x5Cn\xff");
}

TEST(EscapedPath, escapesWhatIsNoAbsolutePath) {
  EXPECT_EQ(escapedPathLine("\\/a"), "\\\\x5C/a");
  EXPECT_EQ(escapedPathLine("relative"), "\\relative");
}

TEST(EscapedPath, givesBackEveryPath) {
  for (const std::string path :
       {"", "/", "/a", "/a\n", "\n", "/\\\n\\x0A", "/\\x5Cx0A\n", "\\", "x\\", "/a\n\xff\xfe/b"}) {
    const std::string line = escapedPathLine(path);
    EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    EXPECT_EQ(pathOfLine(line), path) << line;
  }
}

TEST(EscapedPath, leavesALineThatIsNotEscapedAsItIs) {
  EXPECT_EQ(pathOfLine("/a\\x0Ab"), "/a\\x0Ab");
  EXPECT_EQ(pathOfLine(""), "");
}

TEST(EscapedPath, leavesWhatNoEscapeReadsLikeAsItIs) {
  EXPECT_EQ(pathOfLine("\\/a\\b\\x0\\x41\\x0a\\"), "/a\\b\\x0\\x41\\x0a\\");
}

}  // namespace
}  // namespace quillo
