#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "posix/Text.h"
#include "tests/root/support/helper/HelperFixture.h"
#include "tests/root/support/world/Lines.h"

namespace quillo::tests {
namespace {

using GfsloggerSpelling = HelperFixture;

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

// Each line break takes four bytes, so that the line is longer than a pipe takes at once.
TEST_F(GfsloggerSpelling, ReportsAPathWhoseEscapesMakeItsLineVeryLong) {
  std::string path = folder();
  for (int depth = 0; depth < 10; ++depth) {
    path += '/' + std::string(255, '\n');
    makeFolder(path);
  }
  start();
  writeFile(path + "/one");
  writeFile(path + "/two");
  EXPECT_TRUE(output().waitFor(escapedPathLine(path + "/one")));
  EXPECT_TRUE(output().waitFor(escapedPathLine(path + "/two")));
  EXPECT_TRUE(catchUp());
}

// In a folder below `top` that can still be opened by its path, a file that cannot.
class TooLongPath {
 public:
  explicit TooLongPath(std::string top) {
    while (top.size() < 3900) makeFolder(top += '/' + std::string(150, 'd'), 0777);
    folder_ = check(open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), "open");
  }
  ~TooLongPath() { close(folder_); }
  TooLongPath(const TooLongPath&) = delete;
  TooLongPath& operator=(const TooLongPath&) = delete;

  void write() const {
    constexpr int flags = O_WRONLY | O_CREAT | O_CLOEXEC;
    close(check(openat(folder_, name_.c_str(), flags, 0644), "openat"));
  }

 private:
  int folder_ = -1;
  const std::string name_ = std::string(250, 'f');
};

TEST_F(GfsloggerSpelling, LogsAPathThatNoProgramCanOpenOnceInsteadOfPrintingIt) {
  SystemLogListener log;
  const TooLongPath file(folder());
  start();
  for (int time = 0; time < 2; ++time) {
    file.write();
    ASSERT_TRUE(catchUp());
  }
  const std::string message = log.next();
  EXPECT_NE(message.find("/ffff"), std::string::npos) << message;
  EXPECT_EQ(log.next(std::chrono::milliseconds(0)), "");
}

TEST_F(GfsloggerSpelling, LogsNothingThatItsCallerCouldNotList) {
  SystemLogListener log;
  makeFolder(in("passed"), 0711);
  const TooLongPath file(in("passed"));
  start();
  file.write();
  ASSERT_TRUE(catchUp());
  EXPECT_EQ(log.next(std::chrono::milliseconds(0)), "");
}

}  // namespace
}  // namespace quillo::tests
