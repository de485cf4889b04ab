// What the doctor finds where the system itself withholds rights.

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "companion/doctor/Finding.h"
#include "companion/folders/FolderCare.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

class DoctorPlaces : public testing::Test {
 protected:
  tests::FolderOfMounts folder;
  FakePlatform desktop;
  PassingClock clock;
  DoctorServices services{clock,   desktop.folders, desktop.localizedStrings, desktop.preferences,
                          nullptr, nullptr};
};

TEST_F(DoctorPlaces, KnowAFileSystemThatGivesNoProgramRights) {
  ASSERT_EQ(mount("none", folder.path().c_str(), "tmpfs", MS_NOSUID, "mode=755"), 0);
  const std::string helper = folder.writeProgram("gfslogger", "#!/bin/sh\n");
  ASSERT_EQ(chmod(helper.c_str(), 04755), 0);
  desktop.folders.resources = folder.path();
  const Finding finding = examineHelper(services, {}).front();
  EXPECT_EQ(finding.sentence.key, "DOCTOR_HELPER_NOSUID");
  EXPECT_EQ(finding.remedy.key, "DOCTOR_HELPER_NOSUID_REMEDY");
}

TEST_F(DoctorPlaces, KnowAFolderThatItsUserMayNotRead) {
  const std::string closed = folder.makeFolder("closed");
  ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
  ASSERT_EQ(chmod(closed.c_str(), 0700), 0);
  Mount root;
  root.point = "/";
  root.type = "ext4";
  const auto kind = [&] {
    return careOf({closed, true}, {root}, [](const std::string&) { return true; }).front().kind;
  };
  EXPECT_EQ(kind(), FolderCare::Kind::complete);
  ASSERT_EQ(seteuid(65534), 0);
  const FolderCare::Kind withoutRight = kind();
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_EQ(withoutRight, FolderCare::Kind::unreadable);
}

}  // namespace
}  // namespace quillo
