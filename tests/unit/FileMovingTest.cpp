#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include "posix/FileMoving.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

// As on NFS and some file systems of FUSE, which cannot rename without replacing.
class FileMovingTest : public testing::Test {
 protected:
  int moved() {
    int error = -1;
    withFailingSystemCall(SYS_renameat2, EINVAL,
                          [&] { error = renameWithoutReplacing(AT_FDCWD, from, AT_FDCWD, to); });
    return error;
  }

  TemporaryFolder folder;
  const std::string from = folder.write("from", "moved");
  const std::string to = folder.at("to");
};

TEST_F(FileMovingTest, LeavesOneNameWhereTheFileSystemCannotDoItInOneStep) {
  EXPECT_EQ(moved(), 0);
  EXPECT_EQ(TemporaryFolder::read(to), "moved");
  EXPECT_FALSE(TemporaryFolder::exists(from));
}

// One that came between a look and the renaming is there for the kernel and not for who looked.
TEST_F(FileMovingTest, ReplacesNothingThatCameInBetween) {
  folder.write("to", "another");
  int error = -1;
  withFailingSystemCall(SYS_newfstatat, ENOENT, [&] { error = moved(); });
  EXPECT_EQ(error, EEXIST);
  EXPECT_EQ(TemporaryFolder::read(to), "another");
  EXPECT_EQ(TemporaryFolder::read(from), "moved");
}

TEST_F(FileMovingTest, DoesWithoutSecondNamesWhereThereAreNone) {
  int error = -1;
  withFailingSystemCall(SYS_linkat, EPERM, [&] { error = moved(); });
  EXPECT_EQ(error, 0);
  EXPECT_EQ(TemporaryFolder::read(to), "moved");
  folder.write("from", "later");
  withFailingSystemCall(SYS_linkat, EPERM, [&] { error = moved(); });
  EXPECT_EQ(error, EEXIST);
  EXPECT_EQ(TemporaryFolder::read(to), "moved");
}

}  // namespace
}  // namespace quillo
