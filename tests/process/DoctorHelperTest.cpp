#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "companion/doctor/Finding.h"
#include "posix/Version.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

// The doctor asks a helper that has its rights which version it is of.
class DoctorHelper : public testing::Test {
 protected:
  DoctorHelper() {
    desktop.folders.resources = folder.path();
    services.helperOwner = getuid();
  }
  Finding found(const std::string& script) {
    const std::string helper = folder.writeProgram("gfslogger", "#!/bin/sh\n" + script + "\n");
    EXPECT_EQ(chmod(helper.c_str(), 04755), 0);
    return examineHelper(services, {}).front();
  }

  TemporaryFolder folder;
  FakePlatform desktop;
  PassingClock clock;
  DoctorServices services{clock,   desktop.folders, desktop.localizedStrings, desktop.preferences,
                          nullptr, nullptr};
};

TEST_F(DoctorHelper, IsGoodWhenItIsOfThisVersion) {
  const Finding finding = found("echo gfslogger " + std::string(projectVersion));
  EXPECT_EQ(finding.sentence.key, "DOCTOR_HELPER_GOOD");
  EXPECT_EQ(finding.sign, Finding::Sign::good);
}

TEST_F(DoctorHelper, IsWarnedOfWhenItIsOfAnother) {
  const Finding finding = found("echo gfslogger 0.0.1");
  EXPECT_EQ(finding.sentence.key, "DOCTOR_HELPER_OTHER");
  EXPECT_EQ(finding.sentence.values.front(), "0.0.1");
}

TEST_F(DoctorHelper, IsWarnedOfWhenItSaysNothingThatMakesSense) {
  EXPECT_EQ(found("exit 0").sentence.key, "DOCTOR_HELPER_OTHER");
  EXPECT_EQ(found("head -c 100000 /dev/zero").sentence.key, "DOCTOR_HELPER_OTHER");
}

// In a process of its own, for there is no way back.
TEST_F(DoctorHelper, CannotBeJudgedByWhoMayGainNoRights) {
  EXPECT_EXIT(
      {
        prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
        const Finding finding = found("exit 0");
        std::fprintf(stderr, "%s, %s", finding.sentence.key.c_str(), finding.remedy.key.c_str());
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "DOCTOR_HELPER_NO_NEW_PRIVS, DOCTOR_HELPER_NO_NEW_PRIVS_REMEDY");
}

}  // namespace
}  // namespace quillo
