#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>

#include "posix/FileFacts.h"
#include "posix/FolderReader.h"
#include "posix/OwnFile.h"
#include "posix/Pipe.h"
#include "posix/UniqueFd.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

TEST(FileFacts, DistinguishFoldersFromFilesAndGiveBytes) {
  const TemporaryFolder folder;
  const auto file = fileFacts(folder.write("file", "12345"));
  ASSERT_TRUE(file);
  EXPECT_FALSE(file->isDirectory);
  EXPECT_EQ(file->size, 5);
  const auto itself = fileFacts(folder.path());
  ASSERT_TRUE(itself);
  EXPECT_TRUE(itself->isDirectory);
}

TEST(FileFacts, AFolderIsNeverOfSizeNothing) {
  // The kernel's own folders have no size.
  struct stat status = {};
  ASSERT_EQ(stat("/proc/self", &status), 0);
  ASSERT_EQ(status.st_size, 0);
  EXPECT_EQ(fileFacts("/proc/self")->size, 1);
}

TEST(FileFacts, AreAbsentWhereNothingIs) {
  const TemporaryFolder folder;
  EXPECT_FALSE(fileFacts(folder.path() + "/missing"));
  EXPECT_FALSE(fileFacts(""));
  EXPECT_FALSE(fileExists(folder.write("file", "") + "/below"));
  EXPECT_TRUE(fileExists(folder.path() + "/file"));
}

TEST(FileFacts, ReadAWholeFile) {
  const TemporaryFolder folder;
  const std::string large(50000, 'x');
  EXPECT_EQ(contentsOfFile(folder.write("file", large)), large);
  EXPECT_EQ(contentsOfFile(folder.path() + "/missing"), std::nullopt);
  EXPECT_EQ(contentsOfFile(folder.path()), std::nullopt);
  EXPECT_TRUE(isReadableFile(folder.path() + "/file"));
  EXPECT_FALSE(isReadableFile(folder.path() + "/missing"));
}

TEST(FileFacts, ReadTheRestOfAnOpenFileUnlessItIsTooLarge) {
  const TemporaryFolder folder;
  const UniqueFd file(open(folder.write("file", "123456").c_str(), O_RDONLY | O_CLOEXEC));
  char first = 0;
  ASSERT_EQ(read(file.get(), &first, 1), 1);
  EXPECT_EQ(restOfFile(file.get(), 5), "23456");
  ASSERT_EQ(lseek(file.get(), 1, SEEK_SET), 1);
  errno = 0;
  EXPECT_EQ(restOfFile(file.get(), 4), std::nullopt);
  EXPECT_EQ(errno, EFBIG);
}

TEST(FileFacts, ALinkIsNobodysOwnFolder) {
  const TemporaryFolder folder;
  const std::string link = folder.path() + "/link";
  const std::string real = folder.makeFolder("real");
  std::filesystem::create_directory_symlink(real, link);
  EXPECT_TRUE(isOwnFolder(real));
  EXPECT_FALSE(isOwnFolder(link));
  EXPECT_FALSE(isOwnFolder(folder.write("file", "")));
}

TEST(FileFacts, ALinkToAFolderIsNotTheFolderItselfButCanBeListed) {
  const TemporaryFolder folder;
  const std::string link = folder.path() + "/link";
  std::filesystem::create_directory_symlink(folder.makeFolder("real"), link);
  const std::string file = folder.write("file", "");
  EXPECT_TRUE(isFolderItself(folder.path() + "/real"));
  EXPECT_FALSE(isFolderItself(link));
  EXPECT_FALSE(isFolderItself(file));
  EXPECT_FALSE(isFolderItself(folder.path() + "/missing"));
  EXPECT_TRUE(isListableFolder(folder.path() + "/real"));
  EXPECT_TRUE(isListableFolder(link));
  EXPECT_FALSE(isListableFolder(file));
  EXPECT_FALSE(isListableFolder(folder.path() + "/missing"));
}

TEST(FolderWalk, AppendsAllLevelsHiddenEntriesAndFoldersThemselves) {
  const TemporaryFolder folder;
  folder.write("root/a/b/deep", "");
  folder.write("root/.hidden", "");
  std::vector<std::string> paths = {"kept"};
  appendEverythingBelow(folder.path() + "/root/", paths);
  std::sort(paths.begin(), paths.end());
  const std::string root = folder.path() + "/root/";
  EXPECT_EQ(paths, (std::vector<std::string>{root + ".hidden", root + "a", root + "a/b",
                                             root + "a/b/deep", "kept"}));
}

TEST(FolderWalk, LosesNothingElseWithAFolderThatIsGoneWhenItsTurnComes) {
  // Of a process that has ended, some folders are still there and cannot be listed any more.
  const pid_t ended = fork();
  if (ended == 0) {
    _exit(0);
  }
  siginfo_t info = {};
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(ended), &info, WEXITED | WNOWAIT), 0);
  const std::string root = "/proc/" + std::to_string(ended) + "/";
  std::vector<std::string> paths;
  appendEverythingBelow(root, paths);
  waitpid(ended, nullptr, 0);
  for (const char* name : {"fd", "task", "status", "stat", "cmdline"}) {
    EXPECT_EQ(std::count(paths.begin(), paths.end(), root + name), 1) << name;
  }
}

TEST(FolderWalk, PassesOverWhatIsNoFolder) {
  const TemporaryFolder folder;
  std::vector<std::string> paths;
  appendEverythingBelow(folder.write("file", "") + "/", paths);
  appendEverythingBelow(folder.path() + "/missing/", paths);
  EXPECT_TRUE(paths.empty());
}

TEST(OwnFile, IsForItsUserAloneAndReplacesAnEarlierOne) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "earlier and longer");
  EXPECT_EQ(writeOwnFile("File", path, "now"), "");
  EXPECT_EQ(contentsOfFile(path), "now");
  struct stat status = {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST(OwnFile, SaysWhatWentWrong) {
  const TemporaryFolder folder;
  EXPECT_EQ(writeOwnFile("File", folder.path() + "/no/file", "x"),
            "File " + folder.path() + "/no/file cannot be made: No such file or directory");
  EXPECT_EQ(writeOwnFile("File", folder.makeFolder("sub"), "x"),
            "File " + folder.path() + "/sub cannot be replaced: Is a directory");
}

TEST(OwnFile, AFullDeviceIsNotWritten) {
  // A device that is always full.
  const UniqueFd full(open("/dev/full", O_WRONLY | O_CLOEXEC));
  EXPECT_FALSE(writeAll(full.get(), "x"));
}

TEST(OwnFile, IsNotThereWhenTheFileSystemReportsAtTheEndThatItIsFull) {
  const TemporaryFolder folder;
  const std::string path = folder.path() + "/file";
  withFailingSystemCall(SYS_close, EDQUOT, [&] {
    EXPECT_EQ(writeOwnFile("File", path, "x"),
              "File " + path + " cannot be written: Disk quota exceeded");
  });
  EXPECT_FALSE(fileExists(path));
}

TEST(OwnFile, IsWrittenAlsoWhenThatIsInterrupted) {
  const TemporaryFolder folder;
  const std::string path = folder.path() + "/file";
  withInterruptedSystemCall(SYS_write, 2, [&] { EXPECT_EQ(writeOwnFile("File", path, "x"), ""); });
  withInterruptedSystemCall(SYS_read, 2, [&] { EXPECT_EQ(contentsOfFile(path), "x"); });
}

TEST(Pipe, AChunkIsAllThatStandsInIt) {
  UniqueFd writer;
  PipeReader reader = PipeReader::open(writer);
  EXPECT_EQ(reader.availableData(), "");
  EXPECT_FALSE(reader.atEnd());
  ASSERT_TRUE(writeAll(writer.get(), "one\n"));
  ASSERT_TRUE(writeAll(writer.get(), std::string(20000, 'x')));
  EXPECT_EQ(reader.availableData(), "one\n" + std::string(20000, 'x'));
  EXPECT_EQ(reader.availableData(), "");
  EXPECT_FALSE(reader.atEnd());
}

TEST(Pipe, KnowsItsEnd) {
  UniqueFd writer;
  PipeReader reader = PipeReader::open(writer);
  ASSERT_TRUE(writeAll(writer.get(), "last"));
  writer.reset();
  EXPECT_EQ(reader.availableData(), "last");
  EXPECT_EQ(reader.availableData(), "");
  EXPECT_TRUE(reader.atEnd());
}

TEST(Pipe, OfAReaderThatWasNeverOpenedIsAtItsEnd) {
  PipeReader reader;
  EXPECT_EQ(reader.availableData(), "");
  EXPECT_TRUE(reader.atEnd());
}

TEST(Pipe, IsClosedInOtherPrograms) {
  UniqueFd writer;
  const PipeReader reader = PipeReader::open(writer);
  EXPECT_NE(fcntl(writer.get(), F_GETFD) & FD_CLOEXEC, 0);
  EXPECT_NE(fcntl(reader.descriptor(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(Pipe, GivesItsReadingEndOnce) {
  std::optional<Pipe> pipe = Pipe::make();
  ASSERT_TRUE(pipe);
  std::optional<PipeReader> reader = pipe->fileHandleForReading();
  ASSERT_TRUE(reader);
  EXPECT_FALSE(pipe->fileHandleForReading());
  {
    const UniqueFd writer = pipe->takeWriter();
    EXPECT_FALSE(pipe->takeWriter());
    EXPECT_EQ(reader->availableData(), "");
    EXPECT_FALSE(reader->atEnd());
    ASSERT_EQ(write(writer.get(), "text", 4), 4);
  }
  EXPECT_EQ(reader->availableData(), "text");
  EXPECT_EQ(reader->availableData(), "");
  EXPECT_TRUE(reader->atEnd());
}

TEST(UniqueFd, ClosesWhatItOwnsOnce) {
  const int number = open("/dev/null", O_RDONLY | O_CLOEXEC);
  {
    UniqueFd first(number);
    UniqueFd second(std::move(first));
    // That nothing is left in it is what is tested.
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(second.get(), number);
    first = std::move(second);
    EXPECT_EQ(first.get(), number);
    UniqueFd& same = first;
    first = std::move(same);
    EXPECT_EQ(fcntl(number, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  }
  EXPECT_EQ(fcntl(number, F_GETFD), -1);
}

TEST(UniqueFd, GivesUpWhatItReleases) {
  UniqueFd owner(open("/dev/null", O_RDONLY | O_CLOEXEC));
  const int number = owner.release();
  EXPECT_FALSE(owner);
  EXPECT_EQ(close(number), 0);
}

TEST(PipeMaking, GivesNoneWhenThereAreNoDescriptors) {
  rlimit limit = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit none = {0, limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const bool isMade = Pipe::make().has_value();
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_FALSE(isMade);
  EXPECT_TRUE(Pipe::make());
}

namespace fs = std::filesystem;

class OwnFileAtALink : public testing::Test {
 protected:
  void write() { EXPECT_EQ(writeOwnFile("List", path, "mine"), ""); }
  void expectFile() {
    EXPECT_EQ(fs::symlink_status(path).type(), fs::file_type::regular);
    EXPECT_EQ(contentsOfFile(path), std::optional<std::string>("mine"));
  }

  const TemporaryFolder folder;
  const std::string path = folder.path() + "/list";
};

TEST_F(OwnFileAtALink, ReplacesOneThatLeadsNowhere) {
  fs::create_symlink(folder.path() + "/nowhere", path);
  write();
  expectFile();
  EXPECT_FALSE(fs::exists(folder.path() + "/nowhere"));
}

TEST_F(OwnFileAtALink, LeavesWhatItLeadsToAlone) {
  const std::string other = folder.write("other", "of somebody");
  fs::create_symlink(other, path);
  write();
  expectFile();
  EXPECT_EQ(contentsOfFile(other), std::optional<std::string>("of somebody"));
}

}  // namespace
}  // namespace quillo
