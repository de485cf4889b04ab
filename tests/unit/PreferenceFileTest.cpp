#include <gtest/gtest.h>

#include <filesystem>

#include "agent/PreferenceFile.h"
#include "posix/FileFacts.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

class PreferenceFileTest : public testing::Test {
 protected:
  PreferenceFileTest() {
    desktop.folders.home = home.path();
    desktop.folders.resources = home.makeFolder("resources");
    desktop.preferenceStore.folder = home.path() + "/.config/vantrel";
    home.write("resources/preferences/first.toml.in",
               "# For people\n\nPathToClamav = \"@ENGINE@\"\npathName = \"@FOLDER@\"\n");
  }
  std::string contents() { return contentsOfFile(file.path()).value_or("(none)"); }

  TemporaryFolder home;
  FakePlatform desktop;
  PreferenceFile file{{desktop.application, desktop.folders, desktop.preferenceStore,
                       desktop.systemLog, desktop.workspace}};
};

TEST_F(PreferenceFileTest, IsWrittenWhereThereIsNoneAndOpened) {
  file.open();
  EXPECT_EQ(contents(), "# For people\n\nPathToClamav = \"" + home.path() +
                            "/.local/share/vantrel/engine\"\npathName = \"~/Downloads\"\n");
  EXPECT_EQ(desktop.workspace.opened, Lines{file.path()});
  EXPECT_EQ(desktop.application.beeps, 0);
}

TEST_F(PreferenceFileTest, IsNeverWrittenAnew) {
  home.write(".config/vantrel/org.vantrel.Vantrel.toml", "mine = true\n");
  file.open();
  EXPECT_EQ(contents(), "mine = true\n");
  EXPECT_EQ(desktop.workspace.opened, Lines{file.path()});
}

TEST_F(PreferenceFileTest, IsNotWrittenThroughALinkThatLeadsNowhere) {
  std::filesystem::create_directories(home.path() + "/.config/vantrel");
  std::filesystem::create_symlink(home.path() + "/elsewhere", file.path());
  file.open();
  EXPECT_FALSE(fileExists(home.path() + "/elsewhere"));
  EXPECT_TRUE(desktop.workspace.opened.empty());
  EXPECT_EQ(desktop.application.beeps, 1);
}

TEST_F(PreferenceFileTest, IsNotWrittenEmptyWhereTheTemplateIsMissing) {
  desktop.folders.resources = "/no/such";
  file.open();
  EXPECT_FALSE(fileExists(file.path()));
  EXPECT_EQ(desktop.application.beeps, 1);
}

TEST_F(PreferenceFileTest, DecidesNothingAtFirstWhereOthersDecideAlready) {
  desktop.preferenceStore.set("PathToClamav", "/of/the/machine");
  file.open();
  EXPECT_EQ(contents().find("\nPathToClamav"), std::string::npos) << contents();
  EXPECT_NE(contents().find("\n#PathToClamav"), std::string::npos) << contents();
}

TEST_F(PreferenceFileTest, SaysThatNothingOpensIt) {
  desktop.workspace.answer = false;
  file.open();
  EXPECT_EQ(desktop.application.beeps, 1);
  EXPECT_TRUE(desktop.systemLog.has("No application could be found that opens " + file.path()));
}

TEST_F(PreferenceFileTest, ReportsTheCommandThatMakesTheEngineOfThePreferences) {
  desktop.folders.resources = "/opt/it's";
  EXPECT_EQ(file.engineCommand("/my engine"),
            "'/opt/it'\\''s/engine-tools/vantrel-engine-tree' '/my engine'");
  EXPECT_EQ(file.engineCommand(std::nullopt), "'/opt/it'\\''s/engine-tools/vantrel-engine-tree' '" +
                                                  home.path() + "/.local/share/vantrel/engine'");
}

}  // namespace
}  // namespace quillo
