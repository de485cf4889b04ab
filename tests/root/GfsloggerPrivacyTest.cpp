#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "tests/root/support/helper/HelperFixture.h"

namespace quillo::tests {
namespace {

using GfsloggerPrivacy = HelperFixture;

void giveTo(const std::string& path, uid_t user, gid_t group) {
  check(chown(path.c_str(), user, group), path);
}

TEST_F(GfsloggerPrivacy, DoesNotReportAnotherUsersPrivateFolder) {
  makeFolder(in("private"), 0700);
  giveTo(in("private"), otherUser, otherUser);
  makeFolder(in("private/open"), 0777);
  start();
  writeFile(in("private/secret"));
  writeFile(in("private/open/secret"));
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(in("private/secret")));
  EXPECT_FALSE(output().contains(in("private/open/secret")));
}

TEST_F(GfsloggerPrivacy, ReportsThePrivateFolderOfItsCaller) {
  makeFolder(in("mine"), 0700);
  giveTo(in("mine"), ordinaryUser, ordinaryUser);
  start();
  writeFile(in("mine/file"));
  EXPECT_TRUE(output().waitFor(in("mine/file")));
}

TEST_F(GfsloggerPrivacy, ReportsEverythingToRoot) {
  makeFolder(in("private"), 0700);
  giveTo(in("private"), otherUser, otherUser);
  StandInAgent::Options how = options();
  how.user = 0;
  start(how);
  writeFile(in("private/file"));
  EXPECT_TRUE(output().waitFor(in("private/file")));
}

TEST_F(GfsloggerPrivacy, KnowsTheSupplementaryGroupsOfItsCaller) {
  makeFolder(in("team"), 0750);
  giveTo(in("team"), otherUser, 777);
  makeFolder(in("others"), 0750);
  giveTo(in("others"), otherUser, 778);
  StandInAgent::Options how = options();
  how.groups = {777};
  start(how);
  writeFile(in("others/file"));
  writeFile(in("team/file"));
  EXPECT_TRUE(output().waitFor(in("team/file")));
  EXPECT_FALSE(output().contains(in("others/file")));
}

TEST_F(GfsloggerPrivacy, TakesNoRightsFromASetGroupIdBit) {
  check(chmod(program().c_str(), 06755), "chmod");
  makeFolder(in("roots"), 0750);
  start();
  writeFile(in("roots/file"));
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(in("roots/file")));
}

TEST_F(GfsloggerPrivacy, KeepsQuietAboutAFolderAsSoonAsItIsPrivate) {
  makeFolder(in("folder"), 0755);
  start();
  writeFile(in("folder/before"));
  EXPECT_TRUE(output().waitFor(in("folder/before")));
  check(chmod(in("folder").c_str(), 0700), "chmod");
  writeFile(in("folder/after"));
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(in("folder/after")));
}

TEST_F(GfsloggerPrivacy, DoesNotListAPrivateFolderThatIsMoved) {
  makeFolder(in("private"), 0700);
  writeFile(in("private/secret"));
  start();
  moveFile(in("private"), in("moved"));
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(in("moved/secret")));
}

TEST_F(GfsloggerPrivacy, DoesNotReportWhatTheAgentItselfWrites) {
  start();
  const std::string own = in("own");
  agent().append(own);
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(own));
  writeFile(own);
  EXPECT_TRUE(output().waitFor(own));
}

class GfsloggerScanLog : public HelperFixture {
 protected:
  GfsloggerScanLog() {
    makeFolder(in("Logs"), 0777);
    how_.log = in("Logs/scan.log");
    how_.program = program();
  }

  // Whether `path` is reported when some other process than the agent changes it.
  bool isReported(const std::string& path, const std::string& text = "text") {
    output().clear();
    writeFile(path, text);
    EXPECT_TRUE(catchUp());
    return output().contains(path);
  }

  StandInAgent::Options how_;
};

TEST_F(GfsloggerScanLog, IsNotReported) {
  start(how_);
  EXPECT_FALSE(isReported(in("Logs/scan.log")));
}

TEST_F(GfsloggerScanLog, IsNotReportedUnderAnotherName) {
  start(how_);
  check(link(in("Logs/scan.log").c_str(), in("link").c_str()), "link");
  ASSERT_TRUE(catchUp());
  EXPECT_FALSE(output().contains(in("link")));
  EXPECT_FALSE(isReported(in("link")));
}

TEST_F(GfsloggerScanLog, IsNotReportedWhenItIsRotated) {
  start(how_);
  moveFile(in("Logs/scan.log"), in("Logs/scan.log.0"));
  agent().reopenLog();
  writeFile(in("Logs/scan.log.0.bz2"), "BZh91AY&SY");
  ASSERT_TRUE(catchUp());
  for (const std::string& line : output().all()) EXPECT_EQ(line.find("/Logs/"), std::string::npos);
  EXPECT_FALSE(isReported(in("Logs/scan.log")));
  EXPECT_FALSE(isReported(in("Logs/scan.log.0")));
}

TEST_F(GfsloggerScanLog, HidesNoFileThatOnlyHasItsName) {
  makeFolder(in("other"));
  start(how_);
  EXPECT_TRUE(isReported(in("other/scan.log")));
  EXPECT_TRUE(isReported(in("scan.log.0")));
  EXPECT_TRUE(isReported(in("other/scan.log.0.bz2"), "BZh91AY&SY"));
  EXPECT_TRUE(isReported(in("Logs/scan.log.exe")));
  EXPECT_TRUE(isReported(in("Logs/scan.log.0"), "MZ"));
  EXPECT_TRUE(isReported(in("Logs/scan.log.0.bz2"), "MZ"));
  moveFile(in("other/scan.log"), in("Logs/scan.log"));
  EXPECT_TRUE(isReported(in("Logs/scan.log")));
}

}  // namespace
}  // namespace quillo::tests
