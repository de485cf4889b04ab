#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>

#include "scanning/PutBackFiles.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

// The list of what was put back and allowed, where something else bears its name.
class PutBackListTest : public testing::Test {
 protected:
  Verdict find(const std::string& file) const { return Verdict::parse(file + ": Eicar FOUND"); }
  std::string store() const { return state + "/put-back"; }
  std::string aside() const { return store() + ".aside"; }
  // As it lies there.
  static bool allow(PutBackFiles& noted, const std::string& file) {
    return noted.allow(file, FileIdentity::at(file).value());
  }

  TemporaryFolder folder;
  FakeSystemLog log;
  const std::string state = folder.path() + "/state/vantrel";
  const std::string path = folder.write("bad.com", "malware");
  ManualClock clock;
  PutBackFiles files{state, log, clock};
};

TEST_F(PutBackListTest, SetAListAsideThatOthersCouldWrite) {
  allow(files, path);
  const std::string before = TemporaryFolder::read(store());
  chmod(store().c_str(), 0664);
  const std::string second = folder.write("second", "malware");
  EXPECT_TRUE(allow(files, second));
  EXPECT_EQ(TemporaryFolder::read(aside()), before);
  EXPECT_FALSE(files.isPutBack(find(path)));
  EXPECT_TRUE(PutBackFiles(state, log, clock).isPutBack(find(second)));
  EXPECT_EQ(log.lines().size(), 1U);
  // What was set aside before stays too.
  chmod(store().c_str(), 0664);
  EXPECT_TRUE(allow(files, second));
  EXPECT_EQ(TemporaryFolder::read(aside()), before);
  EXPECT_EQ(std::distance(fs::directory_iterator(state), fs::directory_iterator()), 3);
}

TEST_F(PutBackListTest, SetAListOfAnotherVersionAside) {
  for (const char* const header :
       {"vantrel-quillo put-back 2\nx\n", "vantrel-quillo put-back 12\n"}) {
    fs::remove_all(state);
    folder.write("state/vantrel/put-back", header, 0600);
    EXPECT_TRUE(allow(files, path));
    EXPECT_EQ(TemporaryFolder::read(aside()), header);
    EXPECT_TRUE(PutBackFiles(state, log, clock).isPutBack(find(path)));
  }
}

TEST_F(PutBackListTest, LeaveAListAloneThatCannotBeReadForAMoment) {
  allow(files, path);
  const std::string before = TemporaryFolder::read(store());
  const std::string second = folder.write("second", "malware");
  for (const int call : {SYS_openat, SYS_lseek}) {
    PutBackFiles others(state, log, clock);
    withFailingSystemCall(call, EIO, [&] {
      EXPECT_NE(others.allow(second, FileIdentity(), std::string(64, 'a')), "") << call;
    });
    EXPECT_EQ(TemporaryFolder::read(store()), before) << call;
  }
  // It is kept with the next.
  EXPECT_TRUE(allow(files, second));
  EXPECT_TRUE(PutBackFiles(state, log, clock).isPutBack(find(path)));
  EXPECT_FALSE(TemporaryFolder::exists(aside()));
}

TEST_F(PutBackListTest, AreWrittenInPlaceOfHalfAHeaderThatACrashLeft) {
  folder.write("state/vantrel/put-back", "vantrel-quillo pu", 0600);
  EXPECT_TRUE(allow(files, path));
  EXPECT_FALSE(TemporaryFolder::exists(aside()));
  EXPECT_TRUE(PutBackFiles(state, log, clock).isPutBack(find(path)));
}

}  // namespace
}  // namespace quillo
