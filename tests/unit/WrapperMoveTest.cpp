#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <iomanip>
#include <optional>
#include <sstream>

#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/clamdscan/MoveFolder.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::wrapper {
namespace {

struct stat statusAt(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(statusOf(path, status), 0) << path;
  return status;
}

UniqueFd opened(const std::string& path) {
  UniqueFd file = openPath(path, O_RDONLY);
  EXPECT_TRUE(file) << path;
  return file;
}

class WrapperMove : public testing::Test {
 protected:
  MoveFolder::Outcome move(const std::string& path) {
    return folder.move(path, opened(path).get());
  }

  TemporaryFolder scratch;
  ManualClock clock;
  MoveFolder folder{clock, DesktopTrash("", "")};
};

TEST_F(WrapperMove, MakesTheMissingFolderForItsOwnerOnly) {
  EXPECT_EQ(folder.open(scratch.at("a/b/")), "");
  EXPECT_EQ(statusAt(scratch.at("a")).st_mode & 07777U, 0700U);
  EXPECT_EQ(statusAt(scratch.at("a/b")).st_mode & 07777U, 0700U);
}

TEST_F(WrapperMove, SaysWhyAFolderIsUnusable) {
  EXPECT_EQ(folder.open(""), "no folder is named");
  EXPECT_EQ(folder.open(scratch.write("file")), "not a directory");
  EXPECT_EQ(folder.open(scratch.at("file/below")), "not a directory");
  EXPECT_NE(folder.open("/proc/none/such"), "");
  EXPECT_FALSE(folder.isOpen());
}

TEST_F(WrapperMove, MovesAndSaysWhereTo) {
  ASSERT_EQ(folder.open(scratch.at("q/")), "");
  const std::string path = scratch.write("a", "bad");
  const auto outcome = move(path);
  EXPECT_TRUE(outcome.moved);
  EXPECT_EQ(outcome.text, scratch.at("q/a"));
  EXPECT_EQ(outcome.otherNames, 0U);
  EXPECT_FALSE(TemporaryFolder::exists(path));
  EXPECT_EQ(TemporaryFolder::read(scratch.at("q/a")), "bad");
}

TEST_F(WrapperMove, NumbersNamesThatAreTaken) {
  ASSERT_EQ(folder.open(scratch.at("q")), "");
  scratch.write("q/a", "first");
  const std::string longest(255, 'x');
  scratch.write("q/" + longest, "first");
  EXPECT_EQ(move(scratch.write("a")).text, scratch.at("q/a.001"));
  EXPECT_EQ(move(scratch.write("b/a")).text, scratch.at("q/a.002"));
  EXPECT_EQ(move(scratch.write(longest)).text, scratch.at("q/" + longest.substr(4) + ".001"));
  EXPECT_EQ(TemporaryFolder::read(scratch.at("q/a")), "first");
}

TEST_F(WrapperMove, MovesNothingButTheScannedFile) {
  ASSERT_EQ(folder.open(scratch.at("q")), "");
  const std::string path = scratch.write("a", "bad");
  const UniqueFd scanned = opened(path);
  const std::string other = scratch.write("b", "good");
  ASSERT_EQ(rename(other.c_str(), path.c_str()), 0);
  const auto outcome = folder.move(path, scanned.get());
  EXPECT_FALSE(outcome.moved);
  EXPECT_EQ(outcome.text, "it was replaced after the scan");
  EXPECT_EQ(TemporaryFolder::read(path), "good");
}

TEST_F(WrapperMove, FollowsNoLinkThatAppearsOnTheWay) {
  ASSERT_EQ(folder.open(scratch.at("q")), "");
  const std::string path = scratch.write("real/a");
  const UniqueFd scanned = opened(path);
  scratch.link("way", "real");
  EXPECT_FALSE(folder.move(scratch.at("way/a"), scanned.get()).moved);
  EXPECT_TRUE(TemporaryFolder::exists(path));
}

TEST_F(WrapperMove, CountsTheNamesThatRemain) {
  ASSERT_EQ(folder.open(scratch.at("q")), "");
  const std::string path = scratch.write("a");
  ASSERT_EQ(link(path.c_str(), scratch.at("b").c_str()), 0);
  EXPECT_EQ(move(path).otherNames, 1U);
}

TEST_F(WrapperMove, LeavesWhatLiesThereAlready) {
  ASSERT_EQ(folder.open(scratch.at("q")), "");
  const auto outcome = move(scratch.write("q/a"));
  EXPECT_FALSE(outcome.moved);
  EXPECT_EQ(outcome.text, "it is in that folder already");
}

TEST_F(WrapperMove, TakesTheRightToRunAFile) {
  ASSERT_EQ(folder.open(scratch.at("q")), "");
  const std::string path = scratch.write("a", "bad");
  ASSERT_EQ(chmod(path.c_str(), 06755), 0);
  const auto outcome = move(path);
  EXPECT_EQ(outcome.executable, "");
  EXPECT_EQ(statusAt(scratch.at("q/a")).st_mode & 07777U, 0644U);
}

TEST_F(WrapperMove, LeavesTheRightsOfAFileThatStays) {
  ASSERT_EQ(folder.open(scratch.at("q")), "");
  const std::string path = scratch.write("q/a", "bad", 0755);
  EXPECT_FALSE(move(path).moved);
  EXPECT_EQ(statusAt(path).st_mode & 07777U, 0755U);
}

TEST_F(WrapperMove, TakesNoFolderThatOthersMayWrite) {
  const std::string path = scratch.makeFolder("q");
  for (const mode_t mode : {0777, 0702, 0733}) {
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
    EXPECT_EQ(folder.open(path), "others may write to it") << std::oct << mode;
    EXPECT_FALSE(folder.isOpen());
  }
  // In such a one they can neither take nor replace what is there.
  ASSERT_EQ(chmod(path.c_str(), 01777), 0);
  EXPECT_EQ(folder.open(path), "");
}

// A home with or without a ~/.Trash of its own.
class WrapperTrash : public testing::Test {
 protected:
  std::string open(const std::string& dataHome = "") {
    folder.emplace(clock, DesktopTrash(scratch.at("home/"), dataHome));
    return folder->open(link);
  }
  std::string moved(const std::string& path) { return folder->move(path, opened(path).get()).text; }
  std::string noteOf(const std::string& name) const {
    return TemporaryFolder::read(scratch.at("home/.local/share/Trash/info/" + name + ".trashinfo"));
  }
  static std::string note(const std::string& encodedPath) {
    return "[Trash Info]\nPath=" + encodedPath + "\nDeletionDate=" + date() + "\n";
  }
  // What the clock shows, in this machine's zone.
  static std::string date() {
    const std::time_t start = std::chrono::system_clock::to_time_t(ManualClock().wallTime());
    std::tm parts = {};
    localtime_r(&start, &parts);
    std::ostringstream text;
    text << std::put_time(&parts, "%FT%T");
    return text.str();
  }
  static bool isLink(const std::string& path) { return std::filesystem::is_symlink(path); }
  std::string target() const { return std::filesystem::read_symlink(link); }

  TemporaryFolder scratch;
  const std::string link = scratch.at("home/.Trash");
  const std::string bad = scratch.write("home/bad", "bad");
  ManualClock clock;
  std::optional<MoveFolder> folder;
};

TEST_F(WrapperTrash, IsLinkedToTheDesktopsWhereNoneIs) {
  EXPECT_EQ(open(), "");
  EXPECT_EQ(target(), ".local/share/Trash/files");
  EXPECT_EQ(statusAt(scratch.at("home/.local/share/Trash")).st_mode & 07777U, 0700U);
  EXPECT_EQ(moved(bad), link + "/bad");
  EXPECT_EQ(TemporaryFolder::read(scratch.at("home/.local/share/Trash/files/bad")), "bad");
  EXPECT_EQ(noteOf("bad"), note(bad));
}

TEST_F(WrapperTrash, IsLinkedToWhereTheUsersDataLie) {
  EXPECT_EQ(open(scratch.at("data")), "");
  EXPECT_EQ(target(), scratch.at("data/Trash/files"));
  EXPECT_EQ(moved(bad), link + "/bad");
  EXPECT_TRUE(TemporaryFolder::exists(scratch.at("data/Trash/info/bad.trashinfo")));
}

TEST_F(WrapperTrash, IsMadeAnewBehindTheLinkAfterItWasRemoved) {
  EXPECT_EQ(open(), "");
  std::filesystem::remove_all(scratch.at("home/.local/share/Trash"));
  EXPECT_EQ(open(), "");
  EXPECT_EQ(moved(bad), link + "/bad");
  EXPECT_EQ(noteOf("bad"), note(bad));
}

TEST_F(WrapperTrash, StaysAsItIsWhereSomebodyMadeOne) {
  scratch.write("home/.Trash/old");
  EXPECT_EQ(open(), "");
  EXPECT_FALSE(isLink(link));
  EXPECT_EQ(moved(bad), link + "/bad");
  EXPECT_FALSE(TemporaryFolder::exists(scratch.at("home/.local")));
}

TEST_F(WrapperTrash, StaysAsItIsWhereSomebodysLinkLeadsNowhere) {
  scratch.link("home/.Trash", "elsewhere");
  EXPECT_NE(open(), "");
  EXPECT_EQ(target(), "elsewhere");
  EXPECT_FALSE(TemporaryFolder::exists(scratch.at("home/.local")));
}

TEST_F(WrapperTrash, IsNotMadeForAnotherFolder) {
  folder.emplace(clock, DesktopTrash(scratch.at("home"), ""));
  EXPECT_EQ(folder->open(scratch.at("home/Quarantine")), "");
  EXPECT_EQ(moved(bad), scratch.at("home/Quarantine/bad"));
  EXPECT_FALSE(TemporaryFolder::exists(link));
  EXPECT_FALSE(TemporaryFolder::exists(scratch.at("home/.local")));
}

TEST_F(WrapperTrash, NotesNothingThatGoesElsewhere) {
  ASSERT_EQ(open(), "");
  folder.emplace(clock, DesktopTrash(scratch.at("home"), ""));
  EXPECT_EQ(folder->open(scratch.at("home/Quarantine")), "");
  EXPECT_EQ(moved(bad), scratch.at("home/Quarantine/bad"));
  EXPECT_EQ(noteOf("bad"), "");
}

TEST_F(WrapperTrash, NotesTheFinalName) {
  ASSERT_EQ(open(), "");
  EXPECT_EQ(moved(bad), link + "/bad");
  EXPECT_EQ(moved(scratch.write("home/other/bad")), link + "/bad.001");
  EXPECT_EQ(noteOf("bad"), note(bad));
  EXPECT_EQ(noteOf("bad.001"), note(scratch.at("home/other/bad")));
}

TEST_F(WrapperTrash, TakesNoNameThatHasAFileOrANoteAlready) {
  ASSERT_EQ(open(), "");
  scratch.write("home/.local/share/Trash/files/bad", "without a note");
  scratch.write("home/.local/share/Trash/info/bad.001.trashinfo", "without a file");
  EXPECT_EQ(moved(bad), link + "/bad.002");
  EXPECT_EQ(noteOf("bad"), "");
  EXPECT_EQ(noteOf("bad.001"), "without a file");
  EXPECT_EQ(noteOf("bad.002"), note(bad));
}

TEST_F(WrapperTrash, NotesAnyPathByteByByte) {
  ASSERT_EQ(open(), "");
  const std::string path = scratch.write("home/a: b'\"%\n\xE9;", "bad");
  EXPECT_EQ(moved(path), link + "/a: b'\"%\n\xE9;");
  EXPECT_EQ(noteOf("a: b'\"%\n\xE9;"), note(scratch.at("home/a%3A%20b%27%22%25%0A%E9%3B")));
}

TEST_F(WrapperTrash, ShortensANameForWhichThereCouldBeNoNote) {
  ASSERT_EQ(open(), "");
  const std::string name(255, 'x');
  const std::string path = scratch.write("home/" + name);
  EXPECT_EQ(moved(path), link + "/" + name.substr(10));
  EXPECT_EQ(noteOf(name.substr(10)), note(path));
}

TEST_F(WrapperTrash, KeepsNoNoteOfAFileThatStays) {
  ASSERT_EQ(open(), "");
  std::filesystem::remove_all(scratch.at("home/.local/share/Trash/files"));
  EXPECT_FALSE(folder->move(bad, opened(bad).get()).moved);
  EXPECT_EQ(noteOf("bad"), "");
}

TEST_F(WrapperTrash, TakesAnInfectedFileAlsoWhenItCannotNoteItsPlace) {
  ASSERT_EQ(open(), "");
  std::filesystem::remove_all(scratch.at("home/.local/share/Trash/info"));
  const MoveFolder::Outcome outcome = folder->move(bad, opened(bad).get());
  EXPECT_TRUE(outcome.moved);
  EXPECT_EQ(outcome.unnoted, "no such file or directory");
}

}  // namespace
}  // namespace quillo::wrapper
