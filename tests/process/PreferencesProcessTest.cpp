#include <gtest/gtest.h>
#include <sys/mount.h>

#include <filesystem>

#include "agent/Preferences.h"
#include "posix/FileFacts.h"
#include "tests/fakes/agent/PreferencesUnderTest.h"
#include "tests/fakes/engine/FakeClamd.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using Path = std::optional<std::string>;

class DaemonAtReading : public testing::Test, protected PreferencesUnderTest {
 protected:
  DaemonAtReading() { daemon.reset(); }
  void installDaemon(const std::string& rest) {
    folder.writeProgram("engine/sbin/clamd", "#!/bin/sh\n" + rest + "\n");
    folder.write("engine/etc/clamd.conf", "LocalSocket /of/installation\n");
  }
};

TEST_F(DaemonAtReading, IsLaunchedWithTheInstallationsConfiguration) {
  installDaemon("echo \"$@\" > '" + folder.path() + "/arguments'; exit 0");
  EXPECT_TRUE(preferences.readPrefs());
  EXPECT_TRUE(daemonStart.weLaunchedClamd);
  EXPECT_FALSE(daemonStart.launchingClamd);
  EXPECT_EQ(link.clamdPATH(), Path(engine() + "/sbin/clamd"));
  EXPECT_EQ(link.clamdConfPATH(), Path(engine() + "/etc/clamd.conf"));
  EXPECT_EQ(link.clamdSocket(), Path("/of/installation"));
  EXPECT_EQ(contentsOfFile(folder.path() + "/arguments"),
            Path("-c " + engine() + "/etc/clamd.conf\n"));
  EXPECT_EQ(log().lines(), (Lines{"clamd not running. Now trying to launch it...",
                                  "clamd launched successfully.  Continuing...", "scan email files",
                                  "clamdconfEncoding: 4"}));
}

// As the launcher of an engine tree does, which found the machine's daemon.
TEST_F(DaemonAtReading, IsNotOursWhenItWasThereBeforeALaunchThatSucceeded) {
  installDaemon("exit 0");
  FakeClamd machines(folder.path() + "/clamd.ctl");
  folder.write("engine/etc/clamd.conf", "LocalSocket " + folder.path() + "/clamd.ctl\n");
  EXPECT_TRUE(preferences.readPrefs());
  EXPECT_FALSE(daemonStart.weLaunchedClamd);
  EXPECT_TRUE(log().has("clamd launched successfully.  Continuing..."));
}

TEST_F(DaemonAtReading, IsNotOursAnyMoreAtTheNextReading) {
  installDaemon("exit 0");
  ASSERT_TRUE(preferences.readPrefs());
  daemon = RunningDaemon{"/running/clamd", std::nullopt};
  ASSERT_TRUE(preferences.readPrefs());
  EXPECT_FALSE(daemonStart.weLaunchedClamd);
}

TEST_F(DaemonAtReading, FailsWithStatusOne) {
  installDaemon("exit 1");
  daemonStart.weLaunchedClamd = true;
  EXPECT_FALSE(preferences.readPrefs());
  EXPECT_FALSE(daemonStart.weLaunchedClamd);
  EXPECT_EQ(log().lines(), (Lines{"clamd not running. Now trying to launch it...",
                                  "clamd couldn't be launched.  Quitting now."}));
  EXPECT_EQ(link.clamdSocket(), std::nullopt);
  EXPECT_FALSE(fileExists(scratch()));
}

TEST_F(DaemonAtReading, IsLaunchedWhateverOtherStatusItGives) {
  installDaemon("exit 2");
  EXPECT_TRUE(preferences.readPrefs());
  EXPECT_TRUE(daemonStart.weLaunchedClamd);
}

TEST_F(DaemonAtReading, FailsWhenItCannotBeRun) {
  folder.write("engine/sbin/clamd", "no program");
  EXPECT_FALSE(preferences.readPrefs());
  EXPECT_EQ(log().lines(),
            (Lines{"clamd not running. Now trying to launch it...",
                   "Cannot launch " + engine() + "/sbin/clamd: launch path not accessible",
                   "clamd couldn't be launched.  Quitting now."}));
  EXPECT_FALSE(daemonStart.launchingClamd);
}

TEST_F(DaemonAtReading, IsKnownToBeOnItsWayWhileItIsLaunched) {
  installDaemon("exit 0");
  bool launching = false;
  desktop.application.duringWait = [&] { launching = daemonStart.launchingClamd; };
  EXPECT_TRUE(preferences.readPrefs());
  EXPECT_TRUE(launching);
}

// In the namespace of these tests, these folders are theirs to fill.
class PlacesOfTheSystem : public testing::Test, protected PreferencesUnderTest {
 protected:
  static bool mountEmptyFolder(const char* path) {
    return mount("tmpfs", path, "tmpfs", 0, nullptr) == 0;
  }
};

TEST_F(PlacesOfTheSystem, TheStandardInstallationsWrapperIsTheUpdater) {
  ASSERT_TRUE(mountEmptyFolder("/usr/local"));
  store().set("PathToClamav", "/usr/local/vantrel");
  ASSERT_TRUE(preferences.readPrefs());
  EXPECT_EQ(settings()->freshclamPATH, Path("/usr/local/vantrel/bin/freshclam"));

  std::filesystem::create_directories("/usr/local/vantrel/bin/RunFreshclam");
  ASSERT_TRUE(preferences.readPrefs());
  EXPECT_EQ(settings()->freshclamPATH, Path("/usr/local/vantrel/bin/RunFreshclam"));
  store().set("PathToClamav", "/usr/local/vantrel2");
  ASSERT_TRUE(preferences.readPrefs());
  EXPECT_EQ(settings()->freshclamPATH, Path("/usr/local/vantrel/bin/RunFreshclam"));
  store().set("PathToClamav", "/opt/usr/local/vantrel");
  ASSERT_TRUE(preferences.readPrefs());
  EXPECT_EQ(settings()->freshclamPATH, Path("/opt/usr/local/vantrel/bin/freshclam"));
  EXPECT_EQ(umount("/usr/local"), 0);
}

TEST_F(PlacesOfTheSystem, WithoutATemporaryFolderTheTemporaryFoldersLieInTmp) {
  desktop.folders.temporary.reset();
  ASSERT_TRUE(mountEmptyFolder("/tmp"));
  const bool usable = preferences.readPrefs();
  const bool made = fileExists("/tmp/VantrelQuilloII/Throbber");
  EXPECT_EQ(umount("/tmp"), 0);
  EXPECT_TRUE(usable && made);
  EXPECT_EQ(scratchFolders.theTempDirToWatch, Path("/tmp/VantrelQuilloII"));
}

}  // namespace
}  // namespace quillo
