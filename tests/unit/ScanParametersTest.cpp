#include <gtest/gtest.h>

#include "agent/ScanParameters.h"
#include "tests/fakes/agent/PreferencesUnderTest.h"

namespace quillo {
namespace {

using Arguments = std::vector<std::string>;

class QuietMenu final : public ScannerMenu {
 public:
  std::string getQuitMenuName() const override { return "Quit"; }
};

class ScanParametersTest : public testing::Test, protected PreferencesUnderTest {
 protected:
  ScanParametersTest() {
    scanner = folder.writeProgram("engine/bin/clamdscan", "#!/bin/sh\n");
    preferences.clamScanPATH = scanner;
    preferences.usingClamDemon = true;
  }
  Arguments built() {
    EXPECT_TRUE(parameters.setScanParameters());
    return strings();
  }
  // All but the menu, which must stand first and only there.
  Arguments strings() {
    const ScanArgumentList& list = parameters.scanAndUpdateParametersWithThrobber();
    Arguments result;
    for (const ScanArgument& argument : list) {
      if (const auto* text = std::get_if<std::string>(&argument)) {
        result.push_back(*text);
      }
    }
    EXPECT_EQ(result.size() + 1, list.size());
    EXPECT_EQ(std::get<ScannerMenu*>(list.front()), &menu);
    return result;
  }

  std::string scanner;
  QuietMenu menu;
  ScanParameters parameters{preferences, desktop.folders, menu};
};

TEST_F(ScanParametersTest, AreProgramAndOutputOptionAtLeast) {
  EXPECT_EQ(built(), (Arguments{scanner, "--stdout"}));
}

TEST_F(ScanParametersTest, AskForSeveralCores) {
  preferences.useMultiscan = true;
  EXPECT_EQ(built(), (Arguments{scanner, "--multiscan", "--stdout"}));
}

TEST_F(ScanParametersTest, MoveToTheTrashOfTheUser) {
  preferences.deleteInfected = true;
  preferences.useMultiscan = true;
  EXPECT_EQ(built(), (Arguments{scanner, "--move=/home/anna/.Trash", "--multiscan", "--stdout"}));
}

TEST_F(ScanParametersTest, MoveToTheQuarantineFolderRatherThanToTheTrash) {
  preferences.deleteInfected = true;
  preferences.quarantineInfected = true;
  preferences.quarantineLocation = "--move=/q";
  EXPECT_EQ(built(), (Arguments{scanner, "--move=/q", "--stdout"}));
}

TEST_F(ScanParametersTest, HoldABareMoveArgumentWithoutAQuarantineFolder) {
  store().set("QuilloQuarantineFiles", true);
  ASSERT_TRUE(preferences.readPrefs());
  EXPECT_EQ(built(), (Arguments{scanner, "--move=", "--stdout"}));
}

TEST_F(ScanParametersTest, HoldTheQuarantineArgumentWhenTrashIsSetAsWell) {
  store().set("QuilloTrashFiles", true);
  store().set("QuilloQuarantineFiles", true);
  store().set("QuarantineFolder", "~/Q");
  ASSERT_TRUE(preferences.readPrefs());
  EXPECT_EQ(built(), (Arguments{scanner, "--move=/home/anna/Q", "--stdout"}));
}

TEST_F(ScanParametersTest, KeepTheTrashArgumentOfASettingThatWasTurnedOff) {
  store().set("QuilloTrashFiles", true);
  ASSERT_TRUE(preferences.readPrefs());
  store().set("QuilloTrashFiles", false);
  preferences.drop();
  ASSERT_TRUE(preferences.readPrefs());
  EXPECT_EQ(built(), (Arguments{scanner, "--move=/home/anna/.Trash", "--stdout"}));
}

TEST_F(ScanParametersTest, HoldAnEmptyArgumentOfAQuarantineThatWasTurnedOff) {
  preferences.quarantineInfected = true;
  EXPECT_EQ(built(), (Arguments{scanner, "", "--stdout"}));
}

TEST_F(ScanParametersTest, HoldNoPatternsWithTheDaemon) {
  preferences.exclude = preferences.includeOnly = true;
  preferences.excludePattern = "--exclude=x";
  preferences.includePattern = "--include=y";
  preferences.maxRatio = "--max-ratio=1";
  preferences.scanMboxOrNot = "--mbox";
  EXPECT_EQ(built(), (Arguments{scanner, "--stdout"}));
}

TEST_F(ScanParametersTest, HoldEverythingInOrderWithoutTheDaemon) {
  preferences.usingClamDemon = false;
  preferences.exclude = preferences.includeOnly = true;
  preferences.excludePattern = "--exclude=x";
  preferences.includePattern = "--include=y";
  preferences.maxRatio = "--max-ratio=1";
  preferences.scanMboxOrNot = "--no-mail";
  preferences.useMultiscan = true;
  preferences.deleteInfected = true;
  EXPECT_EQ(built(),
            (Arguments{scanner, "--move=/home/anna/.Trash", "--max-ratio=1", "--include=y",
                       "--exclude=x", "-r", "-i", "--no-mail", "--multiscan", "--stdout"}));
}

TEST_F(ScanParametersTest, HoldWhatAlwaysStandsWithoutTheDaemon) {
  preferences.usingClamDemon = false;
  preferences.scanMboxOrNot = "--mbox";
  EXPECT_EQ(built(), (Arguments{scanner, "-r", "-i", "--mbox", "--stdout"}));
}

TEST_F(ScanParametersTest, AreCompleteAlsoWhenTheScannerCannotBeRead) {
  preferences.clamScanPATH = "/nonexistent/clamdscan";
  preferences.useMultiscan = true;
  EXPECT_FALSE(parameters.setScanParameters());
  EXPECT_EQ(strings(), (Arguments{"/nonexistent/clamdscan", "--multiscan", "--stdout"}));
  preferences.clamScanPATH.reset();
  EXPECT_FALSE(parameters.setScanParameters());
  EXPECT_EQ(strings(), (Arguments{"", "--multiscan", "--stdout"}));
}

TEST_F(ScanParametersTest, AreBuiltAnewEveryTime) {
  built();
  EXPECT_EQ(built(), (Arguments{scanner, "--stdout"}));
}

TEST_F(ScanParametersTest, CanBeEmptied) {
  built();
  parameters.empty();
  EXPECT_TRUE(parameters.scanAndUpdateParametersWithThrobber().empty());
}

}  // namespace
}  // namespace quillo
