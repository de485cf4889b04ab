// What an account that may not write somewhere believes of a daemon that may.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "clamav/ScratchFolder.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class ScratchFolderRights : public testing::Test {
 protected:
  ScratchFolderRights() { EXPECT_EQ(chmod(files.path().c_str(), 0755), 0); }

  // As an ordinary user finds the folder that `daemon` unpacks in.
  std::string problem(ScratchFolder::Owner daemon) {
    ManualClock clock;
    ScratchFolder folder(place, daemon, clock);
    EXPECT_EQ(setresuid(65534, 65534, 0), 0);
    std::string found = folder.problem(clock.now());
    EXPECT_EQ(setresuid(0, 0, 0), 0);
    return found;
  }
  void beOf(uid_t user, gid_t group, mode_t mode) const {
    EXPECT_EQ(chown(place.c_str(), user, group), 0);
    EXPECT_EQ(chmod(place.c_str(), mode), 0);
  }

  TemporaryFolder files;
  const std::string place = files.makeFolder("scratch");
  const std::string closed =
      "the engine can make no temporary files in " + place + ": Permission denied";
};

TEST_F(ScratchFolderRights, OfTheUsersOwnDaemonAreTheUsers) {
  beOf(123, 123, 0700);
  EXPECT_EQ(problem(ScratchFolder::Owner::us), closed);
}

TEST_F(ScratchFolderRights, OfAnotherAccountsDaemonAreNotTheUsersToKnow) {
  beOf(123, 123, 0700);
  EXPECT_EQ(problem(ScratchFolder::Owner::another), "");
}

TEST_F(ScratchFolderRights, OfAnotherAccountsDaemonMayBeItsGroups) {
  beOf(0, 123, 0770);
  EXPECT_EQ(problem(ScratchFolder::Owner::another), "");
}

TEST_F(ScratchFolderRights, OfAnotherAccountsDaemonAreNoneWhereOnlyRootMayWrite) {
  beOf(0, 0, 0755);
  EXPECT_EQ(problem(ScratchFolder::Owner::another), closed);
}

}  // namespace
}  // namespace quillo
