#include <gtest/gtest.h>

#include "scanning/ScanParameters.h"
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
    settings.clamScanPATH = scanner;
    settings.usingClamDemon = true;
  }
  void read() {
    ASSERT_TRUE(preferences.readPrefs());
    settings = *preferences.settings();
  }
  Arguments built() {
    EXPECT_TRUE(parameters.setScanParameters(settings));
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
  WatchSettings settings;
  QuietMenu menu;
  ScanParameters parameters{desktop.folders, menu};
};

TEST_F(ScanParametersTest, AreProgramAndOutputOptionAtLeast) {
  EXPECT_EQ(built(), (Arguments{scanner, "--stdout"}));
}

TEST_F(ScanParametersTest, AskForSeveralCores) {
  settings.useMultiscan = true;
  EXPECT_EQ(built(), (Arguments{scanner, "--multiscan", "--stdout"}));
}

TEST_F(ScanParametersTest, MoveToTheTrashOfTheUser) {
  settings.deleteInfected = true;
  settings.useMultiscan = true;
  EXPECT_EQ(built(), (Arguments{scanner, "--move=/home/anna/.Trash", "--multiscan", "--stdout"}));
}

TEST_F(ScanParametersTest, MoveToTheQuarantineFolderRatherThanToTheTrash) {
  settings.deleteInfected = true;
  settings.quarantineInfected = true;
  settings.quarantineFolder = "/q";
  EXPECT_EQ(built(), (Arguments{scanner, "--move=/q", "--stdout"}));
}

TEST_F(ScanParametersTest, HoldABareMoveArgumentWithoutAQuarantineFolder) {
  store().set("QuilloQuarantineFiles", true);
  read();
  EXPECT_EQ(built(), (Arguments{scanner, "--move=", "--stdout"}));
}

TEST_F(ScanParametersTest, HoldTheQuarantineArgumentWhenTrashIsSetAsWell) {
  store().set("QuilloTrashFiles", true);
  store().set("QuilloQuarantineFiles", true);
  store().set("QuarantineFolder", "~/Q");
  read();
  EXPECT_EQ(built(), (Arguments{scanner, "--move=/home/anna/Q", "--stdout"}));
}

TEST_F(ScanParametersTest, KeepTheTrashArgumentOfASettingThatWasTurnedOff) {
  store().set("QuilloTrashFiles", true);
  read();
  store().set("QuilloTrashFiles", false);
  preferences.drop();
  read();
  EXPECT_EQ(built(), (Arguments{scanner, "--move=/home/anna/.Trash", "--stdout"}));
}

TEST_F(ScanParametersTest, HoldAnEmptyArgumentOfAQuarantineThatWasTurnedOff) {
  settings.quarantineInfected = true;
  EXPECT_EQ(built(), (Arguments{scanner, "", "--stdout"}));
}

TEST_F(ScanParametersTest, HoldNoPatternsWithTheDaemon) {
  settings.exclude = settings.includeOnly = true;
  settings.excludePattern = "--exclude=x";
  settings.includePattern = "--include=y";
  settings.maxRatio = "--max-ratio=1";
  settings.scanEmail = true;
  EXPECT_EQ(built(), (Arguments{scanner, "--stdout"}));
}

TEST_F(ScanParametersTest, HoldEverythingInOrderWithoutTheDaemon) {
  settings.usingClamDemon = false;
  settings.exclude = settings.includeOnly = true;
  settings.excludePattern = "--exclude=x";
  settings.includePattern = "--include=y";
  settings.maxRatio = "--max-ratio=1";
  settings.scanEmail = false;
  settings.useMultiscan = true;
  settings.deleteInfected = true;
  EXPECT_EQ(built(),
            (Arguments{scanner, "--move=/home/anna/.Trash", "--max-ratio=1", "--include=y",
                       "--exclude=x", "-r", "-i", "--no-mail", "--multiscan", "--stdout"}));
}

TEST_F(ScanParametersTest, HoldWhatAlwaysStandsWithoutTheDaemon) {
  settings.usingClamDemon = false;
  settings.scanEmail = true;
  EXPECT_EQ(built(), (Arguments{scanner, "-r", "-i", "--mbox", "--stdout"}));
}

TEST_F(ScanParametersTest, AreCompleteAlsoWhenTheScannerCannotBeRead) {
  settings.clamScanPATH = "/nonexistent/clamdscan";
  settings.useMultiscan = true;
  EXPECT_FALSE(parameters.setScanParameters(settings));
  EXPECT_EQ(strings(), (Arguments{"/nonexistent/clamdscan", "--multiscan", "--stdout"}));
  settings.clamScanPATH.reset();
  EXPECT_FALSE(parameters.setScanParameters(settings));
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
