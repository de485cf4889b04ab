#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "posix/FileFacts.h"
#include "scanning/PutBackFiles.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

class PutBackFilesTest : public testing::Test {
 protected:
  Verdict find(const std::string& file, const std::string& threat = "Eicar") const {
    return Verdict::parse(file + ": " + threat + " FOUND");
  }
  std::string store() const { return state + "/put-back"; }
  // As the user does it: warned of the file, it goes to the trash, and comes back.
  void takeOut() {
    files.hasLeft(find(path), FilePrint::of(path).value());
    fs::rename(path, trashed);
  }
  void putBack() const { fs::rename(trashed, path); }
  // As it lies there.
  static bool allow(PutBackFiles& noted, const std::string& file) {
    return noted.allow(file, FileIdentity::at(file).value());
  }
  void setTimeAsOf(const struct stat& status) const {
    const timespec times[] = {status.st_atim, status.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }
  struct stat statusOf(const std::string& file) const {
    struct stat status = {};
    EXPECT_EQ(stat(file.c_str(), &status), 0);
    return status;
  }

  TemporaryFolder folder;
  FakeSystemLog log;
  const std::string state = folder.path() + "/state/vantrel";
  const std::string path = folder.write("home/bad.com", "malware");
  const std::string trashed = folder.makeFolder("trash") + "/bad.com";
  ManualClock clock;
  PutBackFiles files{state, log, clock};
};

TEST_F(PutBackFilesTest, KnowAFileThatComesBackUnchanged) {
  EXPECT_FALSE(files.isPutBack(find(path)));
  takeOut();
  EXPECT_FALSE(files.isPutBack(find(path)));
  putBack();
  EXPECT_TRUE(files.isPutBack(find(path)));
  EXPECT_TRUE(files.isPutBack(find(path)));
  EXPECT_EQ(log.lines(), std::vector<std::string>());
}

TEST_F(PutBackFilesTest, KnowItAlsoInAnotherPlaceAndAfterARestart) {
  takeOut();
  const std::string elsewhere = folder.path() + "/elsewhere\twith\ntab";
  fs::rename(trashed, elsewhere);
  Verdict there = find("/");
  there.path = elsewhere;
  EXPECT_TRUE(PutBackFiles(state, log, clock).isPutBack(there));
}

TEST_F(PutBackFilesTest, SpareNoFileThatHasChanged) {
  takeOut();
  putBack();
  std::ofstream(path, std::ios::app) << "more";
  EXPECT_FALSE(files.isPutBack(find(path)));
}

TEST_F(PutBackFilesTest, SpareNoFileThatHasChangedAndHidesIt) {
  takeOut();
  putBack();
  const struct stat before = statusOf(path);
  std::ofstream(path) << "MALWARE";
  setTimeAsOf(before);
  ASSERT_EQ(statusOf(path).st_size, before.st_size);
  EXPECT_FALSE(files.isPutBack(find(path)));
}

// Unpacked or loaded a second time, with the time that it had in the archive.
TEST_F(PutBackFilesTest, SpareNoOtherFileOfTheSameNameContentsAndTime) {
  takeOut();
  const struct stat before = statusOf(trashed);
  folder.write("home/bad.com", "malware");
  setTimeAsOf(before);
  EXPECT_FALSE(files.isPutBack(find(path)));
  fs::remove(trashed);
  fs::remove(path);
  // Its number may be that of the first by now.
  folder.write("home/bad.com", "malware");
  setTimeAsOf(before);
  EXPECT_FALSE(files.isPutBack(find(path)));
}

TEST_F(PutBackFilesTest, SpareNoFileInWhichAnotherThreatIsFound) {
  takeOut();
  putBack();
  EXPECT_FALSE(files.isPutBack(find(path, "Worse")));
}

TEST_F(PutBackFilesTest, SpareNoLinkToTheFile) {
  takeOut();
  fs::create_symlink(trashed, path);
  EXPECT_FALSE(files.isPutBack(find(path)));
}

TEST_F(PutBackFilesTest, KnowAFileThatTheScannerMovedAndTheUserMovedBack) {
  Verdict moved = find(path);
  moved.destination = trashed;
  fs::rename(path, trashed);
  files.wasMoved(moved);
  putBack();
  EXPECT_TRUE(files.isPutBack(find(path)));
}

TEST_F(PutBackFilesTest, SpareNoOtherFileOfTheSameNameContentsAndTimeAsOneThatTheScannerMoved) {
  Verdict moved = find(path);
  moved.destination = trashed;
  fs::rename(path, trashed);
  files.wasMoved(moved);
  folder.write("home/bad.com", "malware");
  setTimeAsOf(statusOf(trashed));
  EXPECT_FALSE(files.isPutBack(find(path)));
}

// From a quarantine on another disk: copied there and back, and the time is that of the first copy.
TEST_F(PutBackFilesTest, KnowAFileThatWasCopiedIntoTheQuarantineAndBack) {
  // In memory, where the files of other tests do not lie.
  const TemporaryFolder quarantine("/dev/shm");
  ASSERT_NE(statusOf(quarantine.path()).st_dev, statusOf(folder.path()).st_dev);
  const std::string copied = quarantine.path() + "/bad.com";
  Verdict moved = find(path);
  moved.destination = copied;
  fs::copy(path, copied);
  fs::remove(path);
  const timespec anHourAgo[] = {{}, {statusOf(copied).st_mtim.tv_sec - 3600, 123456789}};
  ASSERT_EQ(utimensat(AT_FDCWD, copied.c_str(), anHourAgo, 0), 0);
  files.wasMoved(moved);
  fs::copy(copied, path);
  EXPECT_FALSE(files.isPutBack(find(path)));
  setTimeAsOf(statusOf(copied));
  fs::remove(copied);
  EXPECT_TRUE(files.isPutBack(find(path)));
  fs::rename(path, folder.path() + "/elsewhere");
  EXPECT_FALSE(files.isPutBack(find(folder.path() + "/elsewhere")));
}

TEST_F(PutBackFilesTest, AreKeptWhereNobodyElseCanRead) {
  takeOut();
  EXPECT_EQ(statusOf(state).st_mode & 0777U, 0700U);
  EXPECT_EQ(statusOf(store()).st_mode & 0777U, 0600U);
  EXPECT_EQ(std::distance(fs::directory_iterator(state), fs::directory_iterator()), 1);
}

TEST_F(PutBackFilesTest, AreTheLatestOfManyAlsoAfterARestart) {
  takeOut();
  for (std::size_t i = 0; i < PutBackFiles::most; ++i) {
    files.hasLeft(find("/" + std::to_string(i)), FilePrint{{1, i, 1, 1, 1}, ""});
  }
  putBack();
  EXPECT_FALSE(files.isPutBack(find(path)));
  fs::rename(path, trashed);
  files.hasLeft(find(path), FilePrint::of(trashed).value());
  fs::rename(trashed, path);
  EXPECT_TRUE(PutBackFiles(state, log, clock).isPutBack(find(path)));
}

TEST_F(PutBackFilesTest, AreReadFromNoFileThatOthersCanWrite) {
  takeOut();
  putBack();
  chmod(store().c_str(), 0622);
  EXPECT_FALSE(PutBackFiles(state, log, clock).isPutBack(find(path)));
  chmod(store().c_str(), 0600);
  EXPECT_TRUE(PutBackFiles(state, log, clock).isPutBack(find(path)));
  const std::string real = store() + ".real";
  fs::rename(store(), real);
  fs::create_symlink(real, store());
  EXPECT_FALSE(PutBackFiles(state, log, clock).isPutBack(find(path)));
}

TEST_F(PutBackFilesTest, AreReadAsFarAsTheyCanBe) {
  takeOut();
  putBack();
  std::ofstream(store(), std::ios::app) << "file\t1\t2\nnonsense\n\xff\n";
  EXPECT_TRUE(PutBackFiles(state, log, clock).isPutBack(find(path)));
  std::ofstream(store()) << "of another make\n";
  EXPECT_FALSE(PutBackFiles(state, log, clock).isPutBack(find(path)));
}

TEST_F(PutBackFilesTest, AreKnownWithoutAPlaceToKeepThem) {
  folder.write("state", "is no folder");
  takeOut();
  putBack();
  EXPECT_TRUE(files.isPutBack(find(path)));
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(PutBackFilesTest, SayWhyAFileCannotBeAllowed) {
  folder.write("state", "is no folder");
  const FilePrint print = FilePrint::of(path).value();
  EXPECT_NE(files.allow(path, print.identity, print.hash), "");
  EXPECT_FALSE(allow(files, path));
}

TEST_F(PutBackFilesTest, AllowAFileWhateverIsFoundInItUntilItChanges) {
  EXPECT_TRUE(allow(files, path));
  EXPECT_TRUE(files.isPutBack(find(path)));
  EXPECT_TRUE(files.isPutBack(find(path, "Worse")));
  std::ofstream(path, std::ios::app) << "more";
  EXPECT_FALSE(files.isPutBack(find(path)));
}

TEST_F(PutBackFilesTest, AllowALargeFileByWhatItHolds) {
  fs::resize_file(path, 70UL * 1024 * 1024);
  const struct stat before = statusOf(path);
  allow(files, path);
  EXPECT_TRUE(files.isPutBack(find(path)));
  std::fstream(path) << "MALWARE";
  setTimeAsOf(before);
  EXPECT_FALSE(files.isPutBack(find(path)));
  std::fstream(path) << "malware";
  setTimeAsOf(before);
  const std::string other = folder.path() + "/other";
  fs::copy(path, other);
  fs::rename(other, path);
  setTimeAsOf(before);
  EXPECT_TRUE(files.isPutBack(find(path))) << "another number on another file system";
}

TEST_F(PutBackFilesTest, KeepWhatWasAllowedLongerThanWhatCameBack) {
  allow(files, path);
  for (std::size_t i = 0; i < PutBackFiles::most; ++i) {
    files.hasLeft(find("/" + std::to_string(i)), FilePrint{{1, i, 1, 1, 1}, ""});
  }
  EXPECT_TRUE(files.isPutBack(find(path)));
  EXPECT_TRUE(PutBackFiles(state, log, clock).isPutBack(find(path)));
}

TEST_F(PutBackFilesTest, AllowNothingWhereThereIsNoFile) {
  EXPECT_FALSE(files.allow(folder.at("none"), FileIdentity()));
  EXPECT_FALSE(TemporaryFolder::exists(store()));
}

TEST_F(PutBackFilesTest, AllowNoOtherFileOfTheSameContents) {
  allow(files, path);
  const std::string other = folder.write("other", "malware");
  EXPECT_FALSE(files.isPutBack(find(other)));
}

// Numbers of file systems change between two starts of a machine.
TEST_F(PutBackFilesTest, AllowAFileInItsPlaceAlsoOnAFileSystemOfAnotherNumber) {
  FilePrint print = FilePrint::of(path).value();
  print.identity.device += 1;
  files.allow(path, print.identity, print.hash);
  EXPECT_TRUE(files.isPutBack(find(path)));
}

TEST_F(PutBackFilesTest, AreSharedByTwoProcesses) {
  PutBackFiles others(state, log, clock);
  EXPECT_FALSE(others.isPutBack(find(path)));
  allow(files, path);
  EXPECT_TRUE(others.isPutBack(find(path)));
  const std::string second = folder.write("second", "malware");
  allow(others, second);
  EXPECT_TRUE(files.isPutBack(find(second)));
  PutBackFiles third(state, log, clock);
  EXPECT_TRUE(third.isPutBack(find(path)));
  EXPECT_TRUE(third.isPutBack(find(second)));
}

TEST_F(PutBackFilesTest, AreNotWaitedForWhereSomebodyElseKeepsTheirFileLocked) {
  clock.setSleepsPassAtOnce(true);
  const std::string second = folder.write("second", "malware");
  allow(files, second);
  {
    const UniqueFd foreign(open(store().c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(foreign.get(), LOCK_EX), 0);
    allow(files, path);
    EXPECT_LT(clock.slept(), std::chrono::seconds(1));
    EXPECT_EQ(log.lines().size(), 1U);
    EXPECT_TRUE(files.isPutBack(find(path)));
    EXPECT_FALSE(PutBackFiles(state, log, clock).isPutBack(find(path)));
  }
  allow(files, folder.write("third", "malware"));
  PutBackFiles others(state, log, clock);
  EXPECT_TRUE(others.isPutBack(find(path)));
  EXPECT_TRUE(others.isPutBack(find(second)));
}

// Two who write it anew without the lock would each lose what the other adds.
TEST_F(PutBackFilesTest, AreNeverWrittenAnewWithoutTheLock) {
  clock.setSleepsPassAtOnce(true);
  allow(files, path);
  const auto before = statusOf(store());
  const std::string second = folder.write("second", "malware");
  withInterruptedSystemCall(SYS_flock, 3, [&] { allow(files, second); });
  EXPECT_EQ(statusOf(store()).st_ino, before.st_ino);
  EXPECT_TRUE(PutBackFiles(state, log, clock).isPutBack(find(second)));
  withInterruptedSystemCall(SYS_flock, 1000, [&] { allow(files, folder.write("third")); });
  EXPECT_EQ(statusOf(store()).st_ino, before.st_ino);
}

TEST_F(PutBackFilesTest, AreWrittenBehindHalfALineThatACrashLeft) {
  allow(files, path);
  std::ofstream(store(), std::ios::app) << "allowed\t12";
  const std::string second = folder.write("second", "malware");
  allow(files, second);
  PutBackFiles others(state, log, clock);
  EXPECT_TRUE(others.isPutBack(find(path)));
  EXPECT_TRUE(others.isPutBack(find(second)));
}

TEST_F(PutBackFilesTest, LeaveOutOfTheirFileWhatHasBeenSaidAgain) {
  PutBackFiles others(state, log, clock);
  for (int i = 0; i < 3000; ++i) {
    allow(files, path);
  }
  EXPECT_LT(statusOf(store()).st_size, 2000 * 300);
  EXPECT_TRUE(others.isPutBack(find(path)));
  const std::string second = folder.write("second", "malware");
  allow(others, second);
  EXPECT_TRUE(files.isPutBack(find(second)));
  EXPECT_TRUE(PutBackFiles(state, log, clock).isPutBack(find(path)));
}

TEST_F(PutBackFilesTest, AllowNoOtherFileThanTheOneThatWasShown) {
  const FileIdentity shown = FileIdentity::at(path).value();
  fs::rename(path, trashed);
  folder.write("home/bad.com", "MALWARE");
  EXPECT_FALSE(files.allow(path, shown));
  EXPECT_FALSE(files.isPutBack(find(path)));
}

}  // namespace
}  // namespace quillo
