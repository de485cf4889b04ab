#include <gtest/gtest.h>
#include <unistd.h>

#include "agent/Preferences.h"
#include "posix/FileFacts.h"
#include "posix/PlatformException.h"
#include "tests/fakes/agent/PreferencesUnderTest.h"
#include "tests/support/StdoutCapture.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using Path = std::optional<std::string>;

class PreferencesTest : public testing::Test, protected PreferencesUnderTest {
 protected:
  void read() { ASSERT_TRUE(preferences.readPrefs()); }
  template <typename Value>
  void readWith(const char* key, const Value& value) {
    store().set(key, value);
    read();
  }
};

TEST_F(PreferencesTest, AreReadFromTheMainApplicationsDomainAsWell) {
  store().remove("PathToClamav");
  store().setOfMainApplication("PathToClamav", PreferenceValue{std::string("/of/main")});
  store().setOfMainApplication("PathToUpdateLog", PreferenceValue{std::string("/of/main.log")});
  read();
  EXPECT_EQ(store().suites(), Lines{mainApplicationIdentifier});
  EXPECT_EQ(store().synchronizations(), 1);
  EXPECT_EQ(settings()->clamPATH, Path("/of/main"));
  EXPECT_EQ(settings()->updateLog, Path("/var/log/update.log"));
}

TEST_F(PreferencesTest, AreReadAnewEveryTime) {
  read();
  readWith("PathToClamav", "/other");
  EXPECT_EQ(settings()->clamPATH, Path("/other"));
  EXPECT_EQ(store().synchronizations(), 2);
  EXPECT_EQ(store().suites().size(), 1U);
}

TEST_F(PreferencesTest, DeriveThePathsByPlainJoins) {
  read();
  EXPECT_EQ(settings()->clamPATH, Path(engine()));
  EXPECT_EQ(settings()->clamScanPATH, Path(engine() + "/bin/clamdscan"));
  EXPECT_EQ(settings()->freshclamPATH, Path(engine() + "/bin/freshclam"));
  EXPECT_EQ(settings()->updateLog, Path("/var/log/update.log"));
  readWith("PathToClamav", "/opt/engine/");
  EXPECT_EQ(settings()->clamScanPATH, Path("/opt/engine//bin/clamdscan"));
  EXPECT_TRUE(settings()->usingClamDemon);
}

TEST_F(PreferencesTest, PanicWithoutAnEngineAndGoOn) {
  store().remove("PathToClamav");
  read();
  EXPECT_EQ(owner.calls(), (Lines{"error: <CLAMDSCAN_ERROR>", "noEngineWindow"}));
  EXPECT_EQ(owner.problems, std::vector{EngineProblem::Kind::notChosen});
  EXPECT_EQ(settings()->clamPATH, std::nullopt);
  EXPECT_EQ(settings()->clamScanPATH, std::nullopt);
  EXPECT_EQ(settings()->freshclamPATH, std::nullopt);
  EXPECT_EQ(settings()->updateLog, Path("/var/log/update.log"));
}

TEST_F(PreferencesTest, PanicWithoutAnUpdateLogAndGoOn) {
  store().remove("PathToUpdateLog");
  read();
  EXPECT_EQ(owner.calls(), (Lines{"error: <CLAMDSCAN_ERROR>", "noEngineWindow"}));
  EXPECT_EQ(owner.problems, std::vector{EngineProblem::Kind::noUpdateLog});
  EXPECT_EQ(settings()->updateLog, std::nullopt);
  EXPECT_EQ(settings()->freshclamPATH, Path(engine() + "/bin/freshclam"));
}

TEST_F(PreferencesTest, PanicOnceWhenBothAreMissing) {
  store().remove("PathToClamav");
  store().remove("PathToUpdateLog");
  read();
  EXPECT_EQ(owner.calls().size(), 2U);
}

TEST_F(PreferencesTest, FindNoDaemonProgramWithoutAnEngine) {
  store().remove("PathToClamav");
  daemon.reset();
  EXPECT_FALSE(preferences.readPrefs());
  EXPECT_EQ(link.clamdPATH(), std::nullopt);
  EXPECT_EQ(log().lines(), (Lines{"clamd not running. Now trying to launch it...",
                                  "ClamAV installation couldn't be found.  Quitting now."}));
}

TEST_F(PreferencesTest, KeepThePathsOfADaemonThatRuns) {
  daemonStart.weLaunchedClamd = true;
  read();
  EXPECT_EQ(link.clamdPATH(), Path("/running/clamd"));
  EXPECT_EQ(link.clamdConfPATH(), Path("/running/clamd.conf"));
  EXPECT_FALSE(daemonStart.weLaunchedClamd);
}

TEST_F(PreferencesTest, ReportADaemonProgramThatIsNotThere) {
  daemon.reset();
  EXPECT_FALSE(preferences.readPrefs());
  EXPECT_EQ(link.clamdPATH(), Path(engine() + "/sbin/clamd"));
  EXPECT_EQ(link.clamdConfPATH(), Path(engine() + "/etc/clamd.conf"));
  EXPECT_EQ(log().lines(), (Lines{"clamd not running. Now trying to launch it...",
                                  "ClamAV installation couldn't be found.  Quitting now."}));
  EXPECT_FALSE(fileExists(scratch()));
  EXPECT_EQ(link.clamdSocket(), std::nullopt);
}

TEST_F(PreferencesTest, TryToLaunchTheDaemonWhenProcessesCannotBeListed) {
  findDaemon = []() -> std::optional<RunningDaemon> {
    throw PlatformException(PlatformException::Kind::noResources, "LaunchFailure",
                            "no more processes");
  };
  EXPECT_FALSE(preferences.readPrefs());
  EXPECT_EQ(log().lines()[0], "The processes cannot be listed: no more processes");
  EXPECT_EQ(log().lines()[1], "clamd not running. Now trying to launch it...");
}

TEST_F(PreferencesTest, LookForTheSocketLast) {
  read();
  EXPECT_EQ(log().lines()[0], "scan email files");
  EXPECT_EQ(log().lines()[1], "clamdconfEncoding: 0");
  EXPECT_EQ(link.clamdSocket(), Path("/tmp/clamd.socket"));
}

TEST_F(PreferencesTest, MakeTheTemporaryFolders) {
  read();
  EXPECT_EQ(scratchFolders.theTempDirToWatch, Path(scratch()));
  EXPECT_EQ(scratchFolders.theThrobberTempDir, Path(scratch() + "/Throbber"));
  EXPECT_TRUE(fileFacts(scratch() + "/Throbber")->isDirectory);
}

TEST_F(PreferencesTest, EmptyTheMenusTemporaryFolderButNotItsSubfolders) {
  folder.write("tmp/VantrelQuilloII/kept", "");
  folder.write("tmp/VantrelQuilloII/Throbber/dropped", "");
  folder.write("tmp/VantrelQuilloII/Throbber/folder/kept", "");
  StdoutCapture complaintOfRm;
  read();
  EXPECT_TRUE(fileExists(scratch() + "/kept"));
  EXPECT_FALSE(fileExists(scratch() + "/Throbber/dropped"));
  EXPECT_TRUE(fileExists(scratch() + "/Throbber/folder/kept"));
}

TEST_F(PreferencesTest, DoNotEmptyAFolderBehindALink) {
  folder.write("mine/precious", "");
  folder.makeFolder("tmp/VantrelQuilloII");
  ASSERT_EQ(symlink((folder.path() + "/mine").c_str(), (scratch() + "/Throbber").c_str()), 0);
  read();
  EXPECT_TRUE(fileExists(folder.path() + "/mine/precious"));
  EXPECT_TRUE(log().has("Scratch folder " + scratch() +
                        "/Throbber was made by somebody else; it is not emptied"));
}

TEST_F(PreferencesTest, ScanEmailUnlessThatIsSwitchedOff) {
  read();
  EXPECT_TRUE(settings()->scanEmail);
  EXPECT_TRUE(log().has("scan email files"));
  readWith("ScanEmail", true);
  EXPECT_TRUE(settings()->scanEmail);
  store().set("ScanEmail", false);
  log().clear();
  read();
  EXPECT_FALSE(settings()->scanEmail);
  EXPECT_EQ(log().lines()[0], "do NOT scan email files");
}

TEST_F(PreferencesTest, UseSeveralCoresOnlyForExactlyYes) {
  static constexpr const char* logged = "Will use as many processor cores as possible for scanning";
  for (const char* other : {"Yes", "YES", "yes ", "true", ""}) {
    readWith("multiscan", other);
    EXPECT_FALSE(settings()->useMultiscan) << other;
  }
  EXPECT_FALSE(log().has(logged));
  readWith("multiscan", "yes");
  EXPECT_TRUE(settings()->useMultiscan);
  EXPECT_EQ(log().count(logged), 1);
  store().remove("multiscan");
  read();
  EXPECT_FALSE(settings()->useMultiscan);
}

TEST_F(PreferencesTest, LeaveInfectedFilesInPlaceByDefault) {
  read();
  EXPECT_FALSE(settings()->deleteInfected);
  EXPECT_FALSE(settings()->quarantineInfected);
  EXPECT_EQ(settings()->quarantineOrTrash, InfectedFileAction::leaveInPlace);
  EXPECT_EQ(settings()->quarantineFolder, std::nullopt);
}

TEST_F(PreferencesTest, MoveInfectedFilesToTheTrash) {
  readWith("QuilloTrashFiles", true);
  EXPECT_TRUE(settings()->deleteInfected);
  EXPECT_FALSE(settings()->quarantineInfected);
  EXPECT_EQ(settings()->quarantineOrTrash, InfectedFileAction::moveToTrash);
  EXPECT_EQ(settings()->quarantineFolder, std::nullopt);
  EXPECT_TRUE(log().has("I will delete infected files"));
}

TEST_F(PreferencesTest, MoveInfectedFilesToTheQuarantineFolder) {
  store().set("QuilloQuarantineFiles", true);
  readWith("QuarantineFolder", "/q/folder");
  EXPECT_TRUE(settings()->quarantineInfected);
  EXPECT_FALSE(settings()->deleteInfected);
  EXPECT_EQ(settings()->quarantineOrTrash, InfectedFileAction::quarantine);
  EXPECT_EQ(settings()->quarantineFolder, Path("/q/folder"));
  EXPECT_TRUE(log().has("I will quarantine infected files"));
}

TEST(InfectedFileActions, HaveALetterEachIfTheyMoveTheFile) {
  EXPECT_EQ(letterOf(InfectedFileAction::quarantine), "Q");
  EXPECT_EQ(letterOf(InfectedFileAction::moveToTrash), "T");
  EXPECT_EQ(letterOf(InfectedFileAction::leaveInPlace), "");
}

TEST_F(PreferencesTest, PreferTheQuarantineToTheTrash) {
  store().set("QuilloTrashFiles", true);
  store().set("QuilloQuarantineFiles", true);
  readWith("QuarantineFolder", "/q");
  EXPECT_TRUE(settings()->quarantineInfected);
  EXPECT_FALSE(settings()->deleteInfected);
  EXPECT_EQ(settings()->quarantineOrTrash, InfectedFileAction::quarantine);
  const Lines lines = log().lines();
  EXPECT_EQ(lines[1], "I will delete infected files");
  EXPECT_EQ(lines[2], "I will quarantine infected files");
}

TEST_F(PreferencesTest, QuarantineWithoutAFolderIsABareMoveArgument) {
  readWith("QuilloQuarantineFiles", true);
  EXPECT_EQ(settings()->quarantineFolder, Path(""));
  readWith("QuarantineFolder", PreferenceValue{PreferenceDictionary()});
  EXPECT_EQ(settings()->quarantineFolder, Path(""));
}

TEST_F(PreferencesTest, TakeTheQuarantineFolderFromADictionaryWithATilde) {
  PreferenceDictionary dictionary;
  dictionary["path"] = PreferenceValue{std::string("~/Quarantine")};
  store().set("QuarantineFolder", PreferenceValue{dictionary});
  readWith("QuilloQuarantineFiles", true);
  EXPECT_EQ(settings()->quarantineFolder, Path("/home/anna/Quarantine"));
}

TEST_F(PreferencesTest, AddNoSlashToTheQuarantineFolder) {
  store().set("QuilloQuarantineFiles", true);
  readWith("QuarantineFolder", "/q/");
  EXPECT_EQ(settings()->quarantineFolder, Path("/q/"));
}

TEST_F(PreferencesTest, KeepATrashSettingThatWasTurnedOff) {
  readWith("QuilloTrashFiles", true);
  readWith("QuilloTrashFiles", false);
  EXPECT_TRUE(settings()->deleteInfected);
  EXPECT_EQ(settings()->quarantineOrTrash, InfectedFileAction::leaveInPlace);
}

TEST_F(PreferencesTest, KeepAQuarantineSettingThatWasTurnedOffButNotItsFolder) {
  store().set("QuilloQuarantineFiles", true);
  readWith("QuarantineFolder", "/q");
  store().remove("QuilloQuarantineFiles");
  read();
  EXPECT_TRUE(settings()->quarantineInfected);
  EXPECT_EQ(settings()->quarantineOrTrash, InfectedFileAction::leaveInPlace);
  EXPECT_EQ(settings()->quarantineFolder, std::nullopt);
}

TEST_F(PreferencesTest, TurnTheQuarantineOffForTheTrash) {
  readWith("QuilloQuarantineFiles", true);
  store().set("QuilloQuarantineFiles", false);
  readWith("QuilloTrashFiles", true);
  EXPECT_FALSE(settings()->quarantineInfected);
  EXPECT_TRUE(settings()->deleteInfected);
}

TEST_F(PreferencesTest, NeverTurnUpdaterSettingsOff) {
  read();
  EXPECT_FALSE(settings()->needsExit1FreshclamFlag);
  EXPECT_FALSE(settings()->updateDefsAtLaunch);
  store().set("NeedsExit1FreshclamFlag", true);
  readWith("UpdateDefsOnLaunch", true);
  EXPECT_TRUE(settings()->needsExit1FreshclamFlag);
  EXPECT_TRUE(settings()->updateDefsAtLaunch);
  store().set("NeedsExit1FreshclamFlag", false);
  readWith("UpdateDefsOnLaunch", false);
  EXPECT_TRUE(settings()->needsExit1FreshclamFlag);
  EXPECT_TRUE(settings()->updateDefsAtLaunch);
}

TEST_F(PreferencesTest, NeverTurnPatternsOn) {
  store().set("Exclude", "*.iso");
  readWith("Include", true);
  EXPECT_FALSE(settings()->exclude);
  EXPECT_FALSE(settings()->includeOnly);
  EXPECT_EQ(settings()->excludePattern, "");
  EXPECT_EQ(settings()->includePattern, "");
}

TEST_F(PreferencesTest, LeavePatternsAloneThatAreThereAndResetThemOtherwise) {
  store().set("Exclude", 1);
  store().set("Include", 1);
  WatchSettings before;
  before.exclude = before.includeOnly = true;
  before.excludePattern = before.includePattern = "--x";
  const WatchSettings there = withScanning(before, desktop.preferences, log());
  EXPECT_TRUE(there.exclude && there.includeOnly);
  EXPECT_EQ(there.excludePattern, "--x");
  EXPECT_EQ(there.includePattern, "--x");
  store().remove("Exclude");
  store().remove("Include");
  const WatchSettings gone = withScanning(before, desktop.preferences, log());
  EXPECT_FALSE(gone.exclude || gone.includeOnly);
  EXPECT_EQ(gone.excludePattern, "");
  EXPECT_EQ(gone.includePattern, "");
}

TEST_F(PreferencesTest, ResetTheRatioAtEveryReading) {
  WatchSettings before;
  before.maxRatio = "--max-ratio=1";
  EXPECT_EQ(withScanning(before, desktop.preferences, log()).maxRatio, std::nullopt);
}

TEST_F(PreferencesTest, RunOnAServerWhenTheKeyIsThereWhateverItsValue) {
  read();
  EXPECT_FALSE(settings()->runningOnServer);
  readWith("Running on OS X Server", false);
  EXPECT_TRUE(settings()->runningOnServer);
  store().remove("Running on OS X Server");
  read();
  EXPECT_FALSE(settings()->runningOnServer);
}

TEST_F(PreferencesTest, LogProgressOnlyWhenWanted) {
  read();
  EXPECT_FALSE(settings()->logProgress);
  readWith("QuilloLogProgress", true);
  EXPECT_TRUE(settings()->logProgress);
}

TEST_F(PreferencesTest, IgnoreAndReportAValueOfAnotherType) {
  store().set("ScanEmail", "no");
  store().set("QuilloTrashFiles", 1);
  readWith("multiscan", true);
  EXPECT_TRUE(settings()->scanEmail);
  EXPECT_FALSE(settings()->deleteInfected);
  EXPECT_FALSE(settings()->useMultiscan);
  EXPECT_TRUE(log().has("Preference ScanEmail should be a boolean but is a string; it is ignored"));
  EXPECT_TRUE(log().has(
      "Preference QuilloTrashFiles should be a boolean but is a whole number; it is ignored"));
  EXPECT_TRUE(log().has("Preference multiscan should be a string but is a boolean; it is ignored"));
}

TEST_F(PreferencesTest, DropWhatIsDerivedAndNothingElse) {
  store().set("QuilloTrashFiles", true);
  store().set("multiscan", "yes");
  readWith("UpdateDefsOnLaunch", true);
  daemonStart.weLaunchedClamd = true;
  preferences.drop();
  EXPECT_EQ(settings()->clamPATH, std::nullopt);
  EXPECT_EQ(settings()->freshclamPATH, std::nullopt);
  EXPECT_EQ(settings()->updateLog, std::nullopt);
  EXPECT_EQ(settings()->clamScanPATH, std::nullopt);
  EXPECT_EQ(scratchFolders.theTempDirToWatch, std::nullopt);
  EXPECT_EQ(scratchFolders.theThrobberTempDir, std::nullopt);
  EXPECT_EQ(settings()->quarantineFolder, std::nullopt);
  EXPECT_EQ(settings()->quarantineOrTrash, InfectedFileAction::leaveInPlace);
  EXPECT_EQ(link.clamdPATH(), std::nullopt);
  EXPECT_EQ(link.clamdConfPATH(), std::nullopt);
  EXPECT_EQ(link.clamdSocket(), Path("/tmp/clamd.socket"));
  EXPECT_TRUE(settings()->deleteInfected && settings()->useMultiscan &&
              settings()->updateDefsAtLaunch && daemonStart.weLaunchedClamd);
}

TEST_F(PreferencesTest, LetTheFlagOfTheUpdaterBeSet) {
  preferences.setNeedsExit1FreshclamFlag(true);
  EXPECT_TRUE(settings()->needsExit1FreshclamFlag);
  preferences.setNeedsExit1FreshclamFlag(false);
  EXPECT_FALSE(settings()->needsExit1FreshclamFlag);
}

}  // namespace
}  // namespace quillo
