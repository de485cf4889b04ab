#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "tests/root/support/helper/HelperFixture.h"

namespace quillo::tests {
namespace {

using GfsloggerEvents = HelperFixture;

TEST_F(GfsloggerEvents, ReportsAWrittenFile) {
  start();
  writeFile(in("file"));
  EXPECT_TRUE(output().waitFor(in("file")));
}

TEST_F(GfsloggerEvents, ReportsAnEmptyNewFile) {
  start();
  close(check(open(in("empty").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), "open"));
  EXPECT_TRUE(output().waitFor(in("empty")));
}

TEST_F(GfsloggerEvents, ReportsAFileThatWasRenamedIn) {
  makeFolder(in("elsewhere"));
  writeFile(in("elsewhere/old"));
  start();
  moveFile(in("elsewhere/old"), in("new"));
  EXPECT_TRUE(output().waitFor(in("new")));
  EXPECT_FALSE(output().contains(in("elsewhere/old")));
}

TEST_F(GfsloggerEvents, ReportsBothFilesOfAnExchange) {
  writeFile(in("one"));
  writeFile(in("two"));
  start();
  check(renameat2(AT_FDCWD, in("one").c_str(), AT_FDCWD, in("two").c_str(), RENAME_EXCHANGE),
        "exchange");
  EXPECT_TRUE(output().waitFor(in("one")));
  EXPECT_TRUE(output().waitFor(in("two")));
}

TEST_F(GfsloggerEvents, ReportsAHardLink) {
  writeFile(in("file"));
  start();
  check(link(in("file").c_str(), in("link").c_str()), "link");
  EXPECT_TRUE(output().waitFor(in("link")));
}

TEST_F(GfsloggerEvents, ReportsAnUnnamedFileThatIsGivenAName) {
  start();
  const int fd = check(open(folder().c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600), "open");
  check(static_cast<int>(write(fd, "text", 4)), "write");
  const std::string unnamed = "/proc/self/fd/" + std::to_string(fd);
  check(linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, in("named").c_str(), AT_SYMLINK_FOLLOW),
        "linkat");
  EXPECT_TRUE(output().waitFor(in("named")));
  close(fd);
}

TEST_F(GfsloggerEvents, ReportsAFileThatWasWrittenThroughAMapping) {
  writeFile(in("mapped"), std::string(4096, ' '));
  start();
  const int fd = check(open(in("mapped").c_str(), O_RDWR | O_CLOEXEC), "open");
  void* memory = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  ASSERT_NE(memory, MAP_FAILED);
  static_cast<char*>(memory)[0] = 'x';
  munmap(memory, 4096);
  close(fd);
  EXPECT_TRUE(output().waitFor(in("mapped")));
}

TEST_F(GfsloggerEvents, ReportsAFileThatIsChangedAndKeptOpen) {
  writeFile(in("open"));
  start();
  const int fd = check(open(in("open").c_str(), O_WRONLY | O_CLOEXEC), "open");
  check(static_cast<int>(write(fd, "text", 4)), "write");
  EXPECT_TRUE(output().waitFor(in("open")));
  close(fd);
}

TEST_F(GfsloggerEvents, ReportsATruncatedFile) {
  writeFile(in("file"));
  start();
  check(truncate(in("file").c_str(), 2), "truncate");
  EXPECT_TRUE(output().waitFor(in("file")));
}

TEST_F(GfsloggerEvents, ReportsFilesInBrandNewNestedFolders) {
  start();
  std::string path = folder();
  for (int depth = 0; depth < 20; ++depth) {
    path += "/new";
    makeFolder(path);
    writeFile(path + "/file");
  }
  EXPECT_TRUE(output().waitFor(path + "/file"));
  path = folder();
  for (int depth = 0; depth < 20; ++depth) {
    path += "/new";
    EXPECT_TRUE(output().contains(path + "/file")) << path;
    EXPECT_FALSE(output().contains(path)) << path;
  }
}

TEST_F(GfsloggerEvents, ReportsEachFileOfAFolderThatWasMovedIn) {
  makeFolder(in("outside"));
  makeFolder(in("outside/tree"));
  makeFolder(in("outside/tree/sub"));
  writeFile(in("outside/tree/one"));
  writeFile(in("outside/tree/sub/two"));
  makeFolder(in("linked"));
  writeFile(in("linked/three"));
  check(symlink(in("linked").c_str(), in("outside/tree/link").c_str()), "symlink");
  start();
  moveFile(in("outside/tree"), in("moved"));
  ASSERT_TRUE(catchUp());
  EXPECT_EQ(output().count(in("moved/one")), 1U);
  EXPECT_EQ(output().count(in("moved/sub/two")), 1U);
  EXPECT_EQ(output().count(in("moved/link")), 1U);
  EXPECT_FALSE(output().contains(in("moved")));
  EXPECT_FALSE(output().contains(in("moved/sub")));
  EXPECT_FALSE(output().contains(in("moved/link/three")));
}

TEST_F(GfsloggerEvents, DoesNotEnterAnotherFileSystemInAMovedFolder) {
  makeFolder(in("tree"));
  makeFolder(in("tree/other"));
  mountTmpfs(in("tree/other"));
  writeFile(in("tree/other/inside"));
  writeFile(in("tree/file"));
  start();
  output().clear();
  moveFile(in("tree"), in("moved"));
  ASSERT_TRUE(catchUp());
  EXPECT_TRUE(output().contains(in("moved/file")));
  EXPECT_FALSE(output().contains(in("moved/other/inside")));
}

TEST_F(GfsloggerEvents, DoesNotReportANewFolder) {
  start();
  makeFolder(in("sub"));
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(in("sub")));
}

TEST_F(GfsloggerEvents, ReportsAPathOfFourThousandBytesWhole) {
  start();
  std::string path = folder();
  while (path.size() + 251 <= 4000) {
    path += "/" + std::string(std::min<size_t>(250, 4000 - path.size() - 1), 'd');
    if (path.size() < 4000) makeFolder(path);
  }
  if (path.size() < 4000) {
    if (path.size() == 3999) path.pop_back();
    path += "/" + std::string(4000 - path.size() - 1, 'f');
  }
  ASSERT_EQ(path.size(), 4000U);
  writeFile(path);
  EXPECT_TRUE(output().waitFor(path));
}

TEST_F(GfsloggerEvents, SurvivesAPathThatIsLongerThanAnyProgramCanOpen) {
  start();
  int at = check(open(folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), "open");
  const std::string name(250, 'd');
  for (int depth = 0; depth < 20; ++depth) {
    check(mkdirat(at, name.c_str(), 0755), "mkdirat");
    const int next = check(openat(at, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), "openat");
    close(at);
    close(check(openat(next, "file", O_WRONLY | O_CREAT | O_CLOEXEC, 0644), "openat"));
    at = next;
  }
  close(at);
  EXPECT_TRUE(catchUp());
  EXPECT_TRUE(output().contains(in(name) + "/file"));
  for (const std::string& line : output().all()) EXPECT_LT(line.size(), 4096U);
}

TEST_F(GfsloggerEvents, ReportsANameThatIsNoValidText) {
  start();
  const std::string name = "\xff\xfe\x80 \t\x01\\040";
  writeFile(in(name));
  EXPECT_TRUE(output().waitFor(in(name)));
}

}  // namespace
}  // namespace quillo::tests
