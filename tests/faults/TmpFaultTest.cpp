// The real agent where /tmp is not what it should be.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

TEST(FaultyTmp, ThatCannotBeWrittenIsDoneWithout) {
  GuardedHome home;
  check(chmod("/tmp", 0555), "chmod /tmp");
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_EQ(home.stop(), 0);
  check(chmod("/tmp", 01777), "chmod /tmp");
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
