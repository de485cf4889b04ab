#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "agent/ScanLog.h"
#include "posix/FileFacts.h"
#include "posix/UniqueFd.h"
#include "tests/fakes/agent/ScanLogUnderTest.h"

namespace quillo {
namespace {

constexpr const char* firstLine =
    "# logfilename [owner:group] mode count size when flags [/pid_file] [sig_num]\n";

class ScanLogTest : public ScanLogUnderTest {
 protected:
  std::string logFile() const { return home.path() + "/Library/Logs/VantrelQuillo-scan.log"; }
  std::string logged() const {
    std::fflush(stdout);
    return contentsOfFile(logFile()).value_or("");
  }
  std::string configuration(const std::string& limit) const {
    return firstLine + logFile() + "\t" + std::to_string(getuid()) + ":" +
           std::to_string(getgid()) + "\t640\t3\t" + limit + "\t*\tCJN";
  }
  void expectLimit(const std::string& limit) {
    EXPECT_EQ(log.rotationConfiguration(), configuration(limit));
  }
};

TEST_F(ScanLogTest, LiesBelowTheHomeFolder) { EXPECT_EQ(log.path(), logFile()); }

TEST_F(ScanLogTest, TakesStandardOutputAndErrorBehindWhatItHolds) {
  home.write("Library/Logs/VantrelQuillo-scan.log", "old\n");
  log.logAllToScanLog();
  std::printf("out\n");
  std::fflush(stdout);
  std::fprintf(stderr, "err\n");
  output.restore();
  EXPECT_EQ(logged(), "old\nout\nerr\n");
}

TEST_F(ScanLogTest, MakesItsFolder) {
  log.logAllToScanLog();
  std::printf("out\n");
  output.restore();
  EXPECT_EQ(logged(), "out\n");
  struct stat status = {};
  ASSERT_EQ(stat(logFile().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777 & ~0640U, 0U);
}

TEST_F(ScanLogTest, WritesAtTheEndAlsoBehindOtherWriters) {
  log.logAllToScanLog();
  std::printf("one\n");
  std::fflush(stdout);
  {
    const UniqueFd other(open(logFile().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    ASSERT_EQ(write(other.get(), "two\n", 4), 4);
  }
  std::printf("three\n");
  output.restore();
  EXPECT_EQ(logged(), "one\ntwo\nthree\n");
}

TEST_F(ScanLogTest, IsNoPipeWhetherSomebodyReadsItOrNot) {
  home.makeFolder("Library/Logs");
  ASSERT_EQ(mkfifo(logFile().c_str(), 0600), 0);
  log.logAllToScanLog();
  const UniqueFd reader(open(logFile().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  log.logAllToScanLog();
  const std::string line = "Scan log " + logFile() +
                           " cannot be opened: it is a pipe; its lines go where they went before";
  EXPECT_EQ(desktop.systemLog.lines(), (std::vector<std::string>{line, line}));
}

TEST_F(ScanLogTest, LeavesTheOutputAloneWhenItCannotBeOpened) {
  home.makeFolder("Library/Logs/VantrelQuillo-scan.log");
  log.logAllToScanLog();
  output.restore();
  EXPECT_EQ(desktop.systemLog.lines(),
            std::vector<std::string>{"Scan log " + logFile() +
                                     " cannot be opened: Is a directory; its lines go where they "
                                     "went before"});
}

TEST_F(ScanLogTest, IsRotatedAtFiveMegabytesUnlessANumberSaysOtherwise) {
  expectLimit("5120");
  desktop.preferenceStore.set("rotateScanlogWhenSizeReaches", 1024);
  expectLimit("1024");
  desktop.preferenceStore.set("rotateScanlogWhenSizeReaches", PreferenceValue{2048.7});
  expectLimit("2048");
  desktop.preferenceStore.set("rotateScanlogWhenSizeReaches", 1);
  expectLimit("1");
}

TEST_F(ScanLogTest, IsRotatedAtFiveMegabytesForASizeThatIsNone) {
  desktop.preferenceStore.set("rotateScanlogWhenSizeReaches", 0);
  expectLimit("5120");
  desktop.preferenceStore.set("rotateScanlogWhenSizeReaches", -1);
  expectLimit("5120");
  desktop.preferenceStore.set("rotateScanlogWhenSizeReaches", "1024");
  expectLimit("5120");
  desktop.preferenceStore.set("rotateScanlogWhenSizeReaches", PreferenceValue{0.5});
  expectLimit("5120");
  desktop.preferenceStore.set("rotateScanlogWhenSizeReaches", true);
  expectLimit("5120");
}

TEST_F(ScanLogTest, IsWrittenOnWithoutARotator) {
  log.rotateLogFile();
  std::printf("out\n");
  output.restore();
  EXPECT_EQ(logged(), "out\n");
  EXPECT_EQ(desktop.systemLog.lines(),
            std::vector<std::string>{"The scan log is not rotated: " + home.path() +
                                     "/resources/engine-tools/newsyslog: launch path not "
                                     "accessible"});
  EXPECT_FALSE(fileExists(home.path() + "/tmp/scanlogrotate.conf"));
  EXPECT_EQ(waits, 0);
}

TEST_F(ScanLogTest, IsWrittenOnWhenTheRotationsSettingsCannotBeWritten) {
  desktop.folders.temporary = "/nonexistent";
  log.rotateLogFile();
  std::printf("out\n");
  output.restore();
  EXPECT_EQ(logged(), "out\n");
  EXPECT_EQ(desktop.systemLog.lines(),
            std::vector<std::string>{"Rotation settings /nonexistent/scanlogrotate.conf cannot be "
                                     "made: No such file or directory"});
}

}  // namespace
}  // namespace quillo
