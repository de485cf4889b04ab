#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "posix/PathOpening.h"
#include "quarantine/RecordFolder.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/clamdscan/MoveFolder.h"

namespace quillo::wrapper {
namespace {

namespace fs = std::filesystem;

class WrapperRecord : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(folder.open(quarantine), ""); }
  MoveFolder::Outcome move(const std::string& path) {
    return folder.move(path, openPath(path, O_RDONLY).get(), "Eicar");
  }
  std::optional<QuarantineRecord> recordOf(const std::string& name) const {
    const UniqueFd opened = openPath(quarantine, O_RDONLY | O_DIRECTORY);
    RecordFolder records;
    records.open(opened.get(), RecordFolder::Missing::left);
    return records.find(name);
  }
  std::string records() const { return quarantine + "/.vantrel-records"; }
  static std::ptrdiff_t entries(const std::string& path) {
    return std::distance(fs::directory_iterator(path), fs::directory_iterator());
  }

  TemporaryFolder scratch;
  const std::string quarantine = scratch.makeFolder("q");
  ManualClock clock;
  MoveFolder folder{clock, DesktopTrash("", "")};
};

TEST_F(WrapperRecord, SaysWhereAMovedFileWasAndWhatItWasLike) {
  const std::string path = scratch.write("home/a\nname\xff", "bad");
  ASSERT_EQ(chmod(path.c_str(), 0754), 0);
  const timespec times[] = {{1000, 1}, {2000, 2}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  const auto outcome = move(path);
  ASSERT_TRUE(outcome.moved);
  EXPECT_EQ(outcome.unrecorded, "");
  const auto record = recordOf("a\nname\xff").value();
  EXPECT_EQ(record.state, QuarantineRecord::State::moved);
  EXPECT_EQ(record.origin, path);
  EXPECT_EQ(record.threat, "Eicar");
  EXPECT_EQ(record.moved, clock.wallTime());
  EXPECT_EQ(record.hash, sha256Of("bad"));
  EXPECT_EQ(record.mode, 0754U);
  EXPECT_EQ(record.changed, 2000000000002);
  EXPECT_TRUE(record.isOf(FileIdentity::at(outcome.text).value()));
}

TEST_F(WrapperRecord, IsOfTheCopyWhereAFileCameFromAnotherFileSystem) {
  const TemporaryFolder elsewhere("/dev/shm");
  const auto outcome = move(elsewhere.write("a", "bad"));
  ASSERT_TRUE(outcome.moved) << outcome.text;
  EXPECT_TRUE(recordOf("a").value().isOf(FileIdentity::at(outcome.text).value()));
  EXPECT_EQ(entries(records()), 1);
}

TEST_F(WrapperRecord, NamesTheDefinitionsThatFoundAFile) {
  EXPECT_TRUE(move(scratch.write("a", "bad")).moved);
  EXPECT_EQ(recordOf("a").value().foundWith, QuarantineRecord::Time());
  scratch.write("definitions/daily.cvd",
                "ClamAV-VDB:18 Nov 2026 09-23 +0000:27823:2075000:90:X:X:builder:1794993780\n");
  folder.setDefinitions(scratch.at("definitions"));
  EXPECT_TRUE(move(scratch.write("b", "bad")).moved);
  EXPECT_EQ(recordOf("b").value().foundWith,
            QuarantineRecord::Time(std::chrono::seconds(1794993780)));
}

// By its time it is told from the same file unpacked once more.
TEST_F(WrapperRecord, IsOfACopyWithATimeOfItsOwn) {
  const TemporaryFolder elsewhere("/dev/shm");
  const std::string path = elsewhere.write("a", "bad");
  const timespec times[] = {{1000, 1}, {2000, 2}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  const auto outcome = move(path);
  ASSERT_TRUE(outcome.moved) << outcome.text;
  EXPECT_GT(FileIdentity::at(outcome.text).value().changed, 2000000000002);
}

TEST_F(WrapperRecord, KeepsNoHashOfWhatHasGrownBeyondAllThatIsScanned) {
  const std::string path = scratch.write("a", "bad");
  fs::resize_file(path, std::uintmax_t{1} << 40U);
  EXPECT_TRUE(folder.move(path, openPath(path, O_RDONLY).get(), "Eicar", 100).moved);
  EXPECT_EQ(recordOf("a").value().hash, "");
}

TEST_F(WrapperRecord, IsNotMadeOfACopyThatHasNoEnd) {
  const TemporaryFolder elsewhere("/dev/shm");
  const std::string path = elsewhere.write("a", "bad");
  fs::resize_file(path, std::uintmax_t{1} << 30U);
  const auto outcome = folder.move(path, openPath(path, O_RDONLY).get(), "Eicar", 100);
  EXPECT_FALSE(outcome.moved);
  EXPECT_EQ(outcome.text, "file too large");
  EXPECT_TRUE(TemporaryFolder::exists(path));
  EXPECT_FALSE(recordOf("a"));
  EXPECT_EQ(entries(records()), 0);
}

TEST_F(WrapperRecord, LiesWhereNobodyElseLooks) {
  move(scratch.write("a", "bad"));
  struct stat status = {};
  ASSERT_EQ(stat(records().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

TEST_F(WrapperRecord, IsMadeForTheNameThatTheFileGets) {
  move(scratch.write("home/a", "first"));
  move(scratch.write("other/a", "second"));
  EXPECT_EQ(recordOf("a").value().origin, scratch.at("home/a"));
  EXPECT_EQ(recordOf("a.001").value().origin, scratch.at("other/a"));
}

TEST_F(WrapperRecord, IsNotLeftOfAFileThatStayed) {
  scratch.write("q/a", "the user's own");
  move(scratch.write("home/a", "bad"));
  EXPECT_FALSE(recordOf("a"));
  EXPECT_TRUE(recordOf("a.001"));
}

TEST_F(WrapperRecord, KeepsAFileOfItsFoldersNameFromTakingItsPlace) {
  EXPECT_EQ(move(scratch.write("home/.vantrel-records", "bad")).text, records() + ".001");
  EXPECT_EQ(recordOf(".vantrel-records.001").value().origin, scratch.at("home/.vantrel-records"));
}

TEST_F(WrapperRecord, CannotBeForgedByTheNameOrContentsOfAFile) {
  QuarantineRecord forged;
  forged.state = QuarantineRecord::State::moved;
  forged.name = "a";
  forged.origin = "/etc/passwd";
  move(scratch.write("home/" + RecordFolder::entryFor("a"), forged.text()));
  move(scratch.write("home/a", "bad"));
  EXPECT_EQ(recordOf("a").value().origin, scratch.at("home/a"));
}

TEST_F(WrapperRecord, KeepsNoInfectedFileWhereItIs) {
  scratch.write("q/.vantrel-records", "in the way");
  const auto outcome = move(scratch.write("home/a", "bad"));
  EXPECT_TRUE(outcome.moved);
  EXPECT_EQ(outcome.unrecorded, "not a directory");
}

TEST_F(WrapperRecord, IsWrittenToNoFolderThatOthersMayWrite) {
  const std::string planted = scratch.makeFolder("q/.vantrel-records");
  ASSERT_EQ(chmod(planted.c_str(), 0777), 0);
  const auto outcome = move(scratch.write("home/a", "bad"));
  EXPECT_TRUE(outcome.moved);
  EXPECT_EQ(outcome.unrecorded, "operation not permitted");
  EXPECT_EQ(entries(planted), 0);
}

TEST_F(WrapperRecord, IsWrittenThroughNoLink) {
  scratch.makeFolder("elsewhere");
  scratch.link("q/.vantrel-records", "../elsewhere");
  EXPECT_TRUE(move(scratch.write("home/a", "bad")).moved);
  EXPECT_EQ(entries(scratch.at("elsewhere")), 0);
}

TEST_F(WrapperRecord, IsNotMadeOfWhatGoesToTheTrash) {
  const DesktopTrash trash(scratch.path(), scratch.at("data"));
  MoveFolder trashFolder(clock, trash);
  ASSERT_EQ(trashFolder.open(scratch.at(".Trash")), "");
  const std::string path = scratch.write("home/a", "bad");
  ASSERT_TRUE(trashFolder.move(path, openPath(path, O_RDONLY).get(), "Eicar").moved);
  EXPECT_FALSE(TemporaryFolder::exists(scratch.at(".Trash/.vantrel-records")));
}

}  // namespace
}  // namespace quillo::wrapper
