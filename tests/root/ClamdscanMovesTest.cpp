// What the program in front of the real client moves away.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/root/support/engine/WrapperOnClamd.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/clamdscan/MoveFolder.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::wrapper {
namespace {

using tests::eicar;

TEST_F(WrapperOnClamd, MovesIntoAFolderThatItMakes) {
  startDaemon();
  const std::string infected = files.write("infected", eicar());
  const std::string quarantine = tree.at("new/quarantine");
  EXPECT_EQ(scan({infected}, {"--move=" + quarantine}),
            found(infected) + infected + ": moved to '" + quarantine + "/infected'\n");
  EXPECT_FALSE(TemporaryFolder::exists(infected));
  EXPECT_EQ(TemporaryFolder::read(quarantine + "/infected"), eicar());
}

TEST_F(WrapperOnClamd, MovesOutOfAFolder) {
  startDaemon();
  files.write("a/infected", eicar());
  files.write("b/infected", eicar());
  const std::string quarantine = tree.makeFolder("q");
  const std::string output = scan({files.path()}, {"--multiscan", "--move=" + quarantine});
  EXPECT_TRUE(has(output, "moved to '" + quarantine + "/infected'\n")) << output;
  EXPECT_TRUE(has(output, "moved to '" + quarantine + "/infected.001'\n")) << output;
  EXPECT_FALSE(TemporaryFolder::exists(files.at("a/infected")));
  EXPECT_FALSE(TemporaryFolder::exists(files.at("b/infected")));
}

TEST_F(WrapperOnClamd, ScansWithoutMovingWhenTheMoveFolderIsUnusable) {
  startDaemon();
  user = ordinaryUser;
  const std::string infected = files.write("infected", eicar());
  for (const std::string& folder : {std::string(), files.write("file"), tree.makeFolder("others"),
                                    files.at("new"), std::string("/proc/none")}) {
    const std::string output = scan({infected}, {"--move=" + folder});
    EXPECT_EQ(output.rfind("ERROR: --move=" + folder + ": ", 0), 0U) << output;
    EXPECT_TRUE(has(output, "; infected files stay where they are\n" + found(infected))) << output;
    EXPECT_EQ(status, 1);
  }
  EXPECT_TRUE(TemporaryFolder::exists(infected));
}

TEST_F(WrapperOnClamd, MovesNothingIntoAFolderOfOthers) {
  startDaemon();
  user = ordinaryUser;
  const std::string infected = files.write("infected", eicar());
  ASSERT_EQ(chown(files.path().c_str(), user, user), 0);
  const std::string theirs = tree.makeFolder("theirs");
  const std::string open = tree.makeFolder("open");
  ASSERT_EQ(chown(open.c_str(), user, user), 0);
  for (const std::string& folder : {theirs, open}) {
    ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
    const char* reason = folder == open ? "others may write to it" : "it belongs to somebody else";
    EXPECT_EQ(scan({infected}, {"--move=" + folder}), "ERROR: --move=" + folder + ": " + reason +
                                                          "; infected files stay where they are\n" +
                                                          found(infected));
  }
  EXPECT_TRUE(TemporaryFolder::exists(infected));
}

TEST_F(WrapperOnClamd, TakesTheRightToRunWhatItMovesOutOfAFolder) {
  startDaemon();
  user = ordinaryUser;
  const std::string infected = files.write("deep/infected", eicar());
  for (const std::string& path : {infected, files.at("deep"), files.path()}) {
    ASSERT_EQ(chown(path.c_str(), user, user), 0);
  }
  ASSERT_EQ(chmod(infected.c_str(), 06755), 0);
  const std::string quarantine = tree.makeFolder("q");
  ASSERT_EQ(chown(quarantine.c_str(), user, user), 0);
  EXPECT_EQ(scan({files.path()}, {"--move=" + quarantine}),
            found(infected) + infected + ": moved to '" + quarantine + "/infected'\n");
  struct stat moved = {};
  ASSERT_EQ(stat((quarantine + "/infected").c_str(), &moved), 0);
  EXPECT_EQ(moved.st_mode & 07777U, 0644U);
}

TEST_F(WrapperOnClamd, SaysThatAFileCouldNotBeMoved) {
  startDaemon();
  user = ordinaryUser;
  const std::string quarantine = tree.makeFolder("q");
  ASSERT_EQ(chown(quarantine.c_str(), user, user), 0);
  const std::string infected = files.write("infected", eicar());
  EXPECT_EQ(scan({infected}, {"--move=" + quarantine}),
            found(infected) + infected + ": not moved: permission denied\n");
  EXPECT_TRUE(TemporaryFolder::exists(infected));
}

TEST_F(WrapperOnClamd, SaysWhatBecameOfALinksTarget) {
  startDaemon();
  const std::string target = files.write("target", eicar());
  const std::string link = files.link("link", "target");
  const std::string quarantine = tree.makeFolder("q");
  EXPECT_EQ(scan({link}, {"--move=" + quarantine}),
            found(link) + link + ": '" + target + "' moved to '" + quarantine + "/target'\n");
  EXPECT_FALSE(TemporaryFolder::exists(target));
}

TEST_F(WrapperOnClamd, SaysThatOtherNamesOfAMovedFileRemain) {
  startDaemon();
  const std::string infected = files.write("infected", eicar());
  ASSERT_EQ(link(infected.c_str(), files.at("other").c_str()), 0);
  const std::string output = scan({infected}, {"--move=" + tree.makeFolder("q")});
  EXPECT_TRUE(has(output, infected + ": the infected file still has 1 other name (hard links)\n"));
}

TEST_F(WrapperOnClamd, MovesAcrossFileSystems) {
  startDaemon();
  const std::string quarantine = tree.makeFolder("q");
  tests::mountTmpfs(quarantine);
  const std::string infected = files.write("infected", eicar());
  const std::string output = scan({infected}, {"--move=" + quarantine});
  EXPECT_EQ(output, found(infected) + infected + ": moved to '" + quarantine + "/infected'\n");
  EXPECT_EQ(TemporaryFolder::read(quarantine + "/infected"), eicar());
  EXPECT_FALSE(TemporaryFolder::exists(infected));
  struct stat moved = {};
  ASSERT_EQ(stat((quarantine + "/infected").c_str(), &moved), 0);
  EXPECT_EQ(moved.st_mode & 07777U, 0600U);
  umount2(quarantine.c_str(), MNT_DETACH);
}

TEST_F(WrapperOnClamd, MovesAFileWithAnAwkwardPath) {
  startDaemon();
  const std::string infected = files.write("two\nlines", eicar());
  const std::string quarantine = tree.makeFolder("q");
  const std::string shown = files.at("two\\x0Alines");
  EXPECT_EQ(run({"--move=" + quarantine, infected}),
            found(shown) + shown + ": moved to '" + quarantine + "/two\\x0Alines'\n");
  EXPECT_FALSE(TemporaryFolder::exists(infected));
}

using tests::check;

// The desktop's Trash where it takes another user, another file system or a full disk to see it.
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
