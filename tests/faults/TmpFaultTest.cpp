// The real agent where /tmp is not what it should be.

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "tests/faults/support/RootWithoutTmp.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

// What a session has in /run lies there, or the engine would unpack below /tmp.
const GuardedHome::Places besideTmp{"", "", "/run/guarded"};

// So many files that there are, and as many more.
void allowFilesInTmp(std::uint64_t more) {
  struct statvfs status = {};
  check(statvfs("/tmp", &status), "statvfs");
  const std::string files = std::to_string(status.f_files - status.f_ffree + more);
  check(mount(nullptr, "/tmp", nullptr, MS_REMOUNT, ("nr_inodes=" + files).c_str()), "remount");
}

TEST(FaultyTmp, ThatCannotBeWrittenIsDoneWithout) {
  GuardedHome home("", besideTmp);
  check(chmod("/tmp", 0555), "chmod /tmp");
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_EQ(home.stop(), 0);
  check(chmod("/tmp", 01777), "chmod /tmp");
}

TEST(FaultyTmp, ThatIsNotThereIsDoneWithout) {
  const RootWithoutTmp none;
  GuardedHome home("", besideTmp);
  ASSERT_NE(access("/tmp", F_OK), 0);
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_EQ(home.stop(), 0);
}

TEST(FaultyTmp, ThatHoldsNoMoreFilesFromTheStartIsDoneWithout) {
  GuardedHome home("", besideTmp);
  allowFilesInTmp(0);
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
}

// The engine itself calls everything clean then (ClamAV 1.4).
TEST(FaultyTmp, ThatHoldsNoMoreFilesForAWhileHasNoFileCalledClean) {
  GuardedHome home("", besideTmp);
  home.startAndAwaitWatching();
  home.logHas("Scanned (status 0): " + home.guarded("sentinel"));
  allowFilesInTmp(0);
  const std::string bad = home.saveInfected("bad.com");
  EXPECT_TRUE(home.logHas(bad +
                          ": Not scanned: the engine can make no temporary files in /tmp: No space "
                          "left on device"));
  allowFilesInTmp(1000);
  EXPECT_TRUE(home.logHas(home.saveInfected("after.com") + found));
  EXPECT_TRUE(home.logHas(bad + found));
  EXPECT_EQ(home.linesWith(bad + ": OK"), 0);
}

TEST(FaultyTmp, WithSomebodysPipesInPlaceOfTheScanListsHoldsNoScanUp) {
  GuardedHome home;
  for (const char* scanner : {"firstPatientScanner", "secondPatientScanner"}) {
    const std::string list = std::string("/tmp/VantrelQuilloScanList_") + scanner + ".txt";
    check(mkfifo(list.c_str(), 0666), "mkfifo " + list);
    check(chmod(list.c_str(), 0666), "chmod " + list);
    check(chown(list.c_str(), 12346, 12346), "chown " + list);
  }
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_TRUE(home.logHas("was made by somebody else (user 12346); it is not used"));
}

}  // namespace
}  // namespace quillo::tests
