// The desktop's Trash where it takes another user, another file system or a full disk to see it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/clamdscan/MoveFolder.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::wrapper {
namespace {

using tests::check;

class TrashOnMachine : public testing::Test {
 protected:
  MoveFolder::Outcome moveAway(const std::string& path) {
    MoveFolder folder(clock, DesktopTrash(home, ""));
    EXPECT_EQ(folder.open(home + "/.Trash"), "");
    const UniqueFd file = openPath(path, O_RDONLY);
    return folder.move(path, file.get());
  }

  const tests::FolderOfMounts place;
  const std::string home = place.path();
  TemporaryFolder scratch;
  const std::string bad = scratch.write("bad", "bad");
  ManualClock clock;
};

TEST_F(TrashOnMachine, IsNotLinkedInTheHomeOfAnotherUser) {
  check(chown(home.c_str(), 61234, 61234), "chown " + home);
  EXPECT_EQ(moveAway(bad).text, home + "/.Trash/bad");
  EXPECT_FALSE(std::filesystem::is_symlink(home + "/.Trash"));
  EXPECT_FALSE(std::filesystem::exists(home + "/.local"));
}

TEST_F(TrashOnMachine, NotesWhereAFileOfAnotherFileSystemWas) {
  tests::mountTmpfs(home);
  EXPECT_EQ(moveAway(bad).text, home + "/.Trash/bad");
  const std::string trash = home + "/.local/share/Trash";
  EXPECT_EQ(tests::readFile(trash + "/files/bad"), "bad");
  EXPECT_EQ(tests::readFile(trash + "/info/bad.trashinfo").find("[Trash Info]\nPath=" + bad + "\n"),
            0U);
  EXPECT_FALSE(TemporaryFolder::exists(bad));
}

TEST_F(TrashOnMachine, TakesAFileOnAFullDiskWithoutANote) {
  tests::mountTmpfs(home, "mode=0755,size=64k");
  tests::writeFile(home + "/bad", "bad");
  tests::writeFile(home + "/first", "first");
  moveAway(home + "/first");  // makes the folders
  const int filler =
      check(open((home + "/filler").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), "filler");
  const std::string block(4096, 'x');
  while (write(filler, block.data(), block.size()) > 0) {
  }
  close(filler);
  const MoveFolder::Outcome outcome = moveAway(home + "/bad");
  EXPECT_TRUE(outcome.moved) << outcome.text;
  EXPECT_EQ(outcome.unnoted, "no space left on device");
  EXPECT_FALSE(TemporaryFolder::exists(home + "/.local/share/Trash/info/bad.trashinfo"));
}

}  // namespace
}  // namespace quillo::wrapper
