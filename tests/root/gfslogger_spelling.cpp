#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "posix/EscapedPath.h"
#include "tests/root/support/HelperTest.h"
#include "tests/root/support/SystemLog.h"

namespace quillo::tests {
namespace {

using GfsloggerSpelling = HelperTest;

TEST_F(GfsloggerSpelling, EscapesANameWithALineBreak) {
  start();
  writeFile(in("two\nlines, a \\ and \xff"));
  EXPECT_TRUE(output().waitFor(escapedPathLine(in("two\nlines, a \\ and \xff"))));
  for (const std::string& line : output().all()) {
    EXPECT_NE(line, in("two"));
    EXPECT_NE(line.substr(0, 5), "lines");
  }
}

TEST_F(GfsloggerSpelling, EscapesAFolderWithALineBreak) {
  makeFolder(in("two\nlines"));
  makeFolder(in("old"));
  writeFile(in("old/file"));
  start();
  writeFile(in("two\nlines/file"));
  EXPECT_TRUE(output().waitFor(escapedPathLine(in("two\nlines/file"))));
  moveFile(in("old"), in("new\n"));
  EXPECT_TRUE(output().waitFor(escapedPathLine(in("new\n/file"))));
}

// The agent drops what it takes for the resource fork of a file.
TEST_F(GfsloggerSpelling, KeepsAnOrdinaryFileFromLookingLikeAResourceFork) {
  makeFolder(in("..namedfork"));
  start();
  writeFile(in("..namedfork/rsrc"));
  EXPECT_TRUE(output().waitFor(in("..namedfork/./rsrc")));
  EXPECT_FALSE(output().contains(in("..namedfork/rsrc")));
}

// Makes a folder that can be told, but whose files cannot: each line break takes four bytes.
std::string makeDeepFolder(std::string path) {
  for (int depth = 0; depth < 4; ++depth) {
    path += '/' + std::string(255, '\n');
    makeFolder(path, 0777);
  }
  return path;
}

TEST_F(GfsloggerSpelling, LogsAPathThatIsTooLongForALineOnceInsteadOfPrintingIt) {
  SystemLog log;
  const std::string deep = makeDeepFolder(folder());
  start();
  for (int time = 0; time < 2; ++time) {
    writeFile(deep + "/file");
    ASSERT_TRUE(catchUp());
  }
  const std::string message = log.next();
  EXPECT_NE(message.find("\\012/file"), std::string::npos) << message;
  EXPECT_EQ(log.next(std::chrono::milliseconds(0)), "");
}

TEST_F(GfsloggerSpelling, LogsNothingThatItsCallerCouldNotList) {
  SystemLog log;
  makeFolder(in("private"), 0700);
  const std::string deep = makeDeepFolder(in("private"));
  start();
  writeFile(deep + "/file");
  ASSERT_TRUE(catchUp());
  EXPECT_EQ(log.next(std::chrono::milliseconds(0)), "");
}

}  // namespace
}  // namespace quillo::tests
