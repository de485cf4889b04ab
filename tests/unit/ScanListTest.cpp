#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "posix/FileFacts.h"
#include "scanning/PatientScanner.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

class ScanListFile : public testing::Test {
 protected:
  ~ScanListFile() override { fs::remove_all(path); }

  std::string written() { return contentsOfFile(path).value_or("(none)"); }

  const std::string name = "ScanList_test_" + std::to_string(getpid());
  const std::string path = "/tmp/VantrelQuilloScanList_" + name + ".txt";
  ScanList list{name};
};

TEST_F(ScanListFile, BearsItsScannersName) { EXPECT_EQ(list.argumentPath(), path); }

TEST_F(ScanListFile, OfTwoScannersNeverCollide) {
  EXPECT_NE(ScanList("firstPatientScanner").argumentPath(),
            ScanList("secondPatientScanner").argumentPath());
}

TEST_F(ScanListFile, HoldsOnePathALineInOrder) {
  EXPECT_EQ(list.write({"/b", "/a with blank", "/c:d"}), "");
  EXPECT_EQ(written(), "/b\n/a with blank\n/c:d\n");
  EXPECT_EQ(list.descriptor(), -1);
}

TEST_F(ScanListFile, KeepsBytesThatAreNotText) {
  EXPECT_EQ(list.write({"/\xFF\xFE"}), "");
  EXPECT_EQ(written(), "/\xFF\xFE\n");
}

TEST_F(ScanListFile, NamesAPathWithALineBreakOnOneLine) {
  EXPECT_EQ(list.write({"/a\nb\\c", "/d\\e"}), "");
  EXPECT_EQ(written(), "\\/a\\x0Ab\\x5Cc\n/d\\e\n");
}

TEST_F(ScanListFile, IsForItsUserAlone) {
  list.write({"/a"});
  struct stat status = {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(ScanListFile, ReplacesTheListOfAnEarlierRun) {
  std::ofstream(path) << "an earlier and longer list\n";
  EXPECT_EQ(list.write({"/a"}), "");
  EXPECT_EQ(written(), "/a\n");
}

TEST_F(ScanListFile, IsGoneOnceRemoved) {
  list.write({"/a"});
  list.remove();
  EXPECT_FALSE(fs::exists(path));
}

TEST_F(ScanListFile, ALinkInItsPlaceIsReplacedAndNotFollowed) {
  const TemporaryFolder folder;
  const std::string target = folder.write("target", "untouched");
  fs::create_symlink(target, path);
  EXPECT_EQ(list.write({"/a"}), "");
  EXPECT_EQ(contentsOfFile(target), "untouched");
  EXPECT_FALSE(fs::is_symlink(path));
  EXPECT_EQ(written(), "/a\n");
}

// Something that cannot be replaced stands where the list should be.
class ScanListInMemory : public ScanListFile {
 protected:
  ScanListInMemory() { fs::create_directory(path); }

  std::string handedOver() {
    std::string text(100, '\0');
    const ssize_t count = read(list.descriptor(), text.data(), text.size());
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
  }
};

TEST_F(ScanListInMemory, IsUsedWhenTheFileCannotBeAndSaysWhy) {
  EXPECT_EQ(list.write({"/a", "/b"}), "Scan list " + path + " cannot be replaced: Is a directory");
  EXPECT_EQ(list.argumentPath(), "/dev/fd/3");
  ASSERT_GE(list.descriptor(), 0);
  EXPECT_EQ(handedOver(), "/a\n/b\n");
}

TEST_F(ScanListInMemory, IsNotPassedOnToOtherPrograms) {
  list.write({"/a"});
  EXPECT_NE(fcntl(list.descriptor(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(ScanListInMemory, RemovingItLeavesWhatStandsInItsPlace) {
  list.write({"/a"});
  list.remove();
  EXPECT_EQ(list.descriptor(), -1);
  EXPECT_TRUE(fs::is_directory(path));
}

TEST_F(ScanListInMemory, TheNextRunTriesTheFileAgain) {
  list.write({"/a"});
  fs::remove(path);
  EXPECT_EQ(list.write({"/b"}), "");
  EXPECT_EQ(list.descriptor(), -1);
  EXPECT_EQ(list.argumentPath(), path);
  EXPECT_EQ(written(), "/b\n");
}

}  // namespace
}  // namespace quillo
