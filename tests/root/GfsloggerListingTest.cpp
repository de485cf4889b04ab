// What is reported is what the caller could have listed itself, at the moment of the report.

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "tests/root/support/helper/HelperFixture.h"

namespace quillo::tests {
namespace {

class GfsloggerListing : public HelperFixture {
 protected:
  static void give(const std::string& path, uid_t user) {
    check(chown(path.c_str(), user, user), path);
  }
  // A folder of another user's.
  std::string othersFolder(const std::string& name, mode_t mode) {
    makeFolder(in(name), mode);
    give(in(name), otherUser);
    return in(name);
  }
  static void changeMode(const std::string& path, mode_t mode) {
    check(chmod(path.c_str(), mode), path);
  }
  void stopHelper() { ASSERT_TRUE(agent().signalHelper(SIGSTOP)); }
  void continueHelper() { ASSERT_TRUE(agent().signalHelper(SIGCONT)); }
};

TEST_F(GfsloggerListing, DoesNotReportAReadableFileInAFolderThatCanOnlyBePassed) {
  const std::string home = othersFolder("home", 0711);
  start();
  writeFile(home + "/file");
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(home + "/file"));
}

TEST_F(GfsloggerListing, DoesNotReportTheNameOfAFolderBelowOneThatCanOnlyBePassed) {
  const std::string home = othersFolder("home", 0711);
  othersFolder("home/public", 0755);
  start();
  writeFile(home + "/public/file");
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(home + "/public/file"));
}

TEST_F(GfsloggerListing, ReportsTheCallersOwnHomeInAFolderThatCanOnlyBePassed) {
  othersFolder("homes", 0711);
  makeFolder(in("homes/mine"), 0700);
  give(in("homes/mine"), ordinaryUser);
  start();
  writeFile(in("homes/mine/file"));
  EXPECT_TRUE(output().waitFor(in("homes/mine/file")));
}

TEST_F(GfsloggerListing, ReportsOfADropFolderOnlyWhatBelongsToTheCaller) {
  const std::string drop = othersFolder("drop", 01733);
  start();
  writeFile(drop + "/others");
  writeFile(drop + "/mine");
  give(drop + "/mine", ordinaryUser);
  writeFile(drop + "/mine");
  EXPECT_TRUE(output().waitFor(drop + "/mine"));
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(drop + "/others"));
}

TEST_F(GfsloggerListing, DoesNotReportWhatIsMovedIntoAFolderThatCanOnlyBePassed) {
  const std::string home = othersFolder("home", 0711);
  makeFolder(in("tree"));
  writeFile(in("tree/file"));
  start();
  moveFile(in("tree"), home + "/moved");
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(home + "/moved/file"));
}

TEST_F(GfsloggerListing, DoesNotReportANameFromATimeWhenTheFolderWasPrivate) {
  const std::string folder = othersFolder("folder", 0700);
  start();
  stopHelper();
  writeFile(folder + "/secret");
  moveFile(folder + "/secret", folder + "/harmless");
  writeFile(folder + "/removed");
  check(unlink((folder + "/removed").c_str()), "unlink");
  changeMode(folder, 0755);
  continueHelper();
  EXPECT_TRUE(output().waitFor(folder + "/harmless"));
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(folder + "/secret"));
  EXPECT_FALSE(output().contains(folder + "/removed"));
}

TEST_F(GfsloggerListing, DoesNotReportAFolderThatBecamePrivateWhileItStoodStill) {
  const std::string folder = othersFolder("folder", 0755);
  start();
  stopHelper();
  writeFile(folder + "/file");
  changeMode(folder, 0711);
  continueHelper();
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(folder + "/file"));
}

TEST_F(GfsloggerListing, ReportsAgainOnceTheFolderCanBeListedAgain) {
  const std::string folder = othersFolder("folder", 0711);
  start();
  writeFile(folder + "/before");
  ASSERT_TRUE(catchUp());
  changeMode(folder, 0755);
  writeFile(folder + "/after");
  EXPECT_TRUE(output().waitFor(folder + "/after"));
  EXPECT_FALSE(output().contains(folder + "/before"));
}

TEST_F(GfsloggerListing, DoesNotReportWhatWaitedForAReaderUntilItWasPrivate) {
  const std::string folder = othersFolder("folder", 0755);
  start();
  // All in one read of events, and much more than the pipe holds.
  stopHelper();
  const std::string name = folder + '/' + std::string(240, 'n');
  for (int number = 0; number < 2000; ++number) writeFile(name + std::to_string(number));
  continueHelper();
  ASSERT_TRUE(output().waitFor(name + "0"));
  const std::size_t read = output().all().size();
  changeMode(folder, 0711);
  ASSERT_TRUE(catchUp());
  // Meanwhile it can have filled the pipe again, and have been about to write.
  const std::size_t mostBefore = read + (65536 + 4096) / name.size() + 1;
  EXPECT_LE(output().all().size(), mostBefore);
}

// Of a path that a link stands for nothing is reported but the link.
TEST_F(GfsloggerListing, DoesNotReportThroughALinkThatTookTheFoldersPlace) {
  const std::string folder = othersFolder("folder", 0755);
  othersFolder("elsewhere", 0755);
  writeFile(in("elsewhere/file"));
  start();
  stopHelper();
  writeFile(folder + "/file");
  moveFile(folder, in("gone"));
  check(symlink(in("elsewhere").c_str(), folder.c_str()), "symlink");
  continueHelper();
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(folder + "/file"));
  EXPECT_TRUE(output().contains(in("gone/file")));
}

TEST_F(GfsloggerListing, ReportsAPathOfVeryManyFolders) {
  std::string path = folder();
  for (int depth = 0; depth < 600; ++depth) makeFolder(path += "/d");
  start();
  writeFile(path + "/one");
  writeFile(path + "/two");
  EXPECT_TRUE(output().waitFor(path + "/one"));
  EXPECT_TRUE(output().waitFor(path + "/two"));
}

}  // namespace
}  // namespace quillo::tests
