#include <gtest/gtest.h>

#include "tests/fakes/companion/SettingsPageFixture.h"

namespace quillo {
namespace {

using SettingsQuarantineTest = SettingsPageFixture;

TEST_F(SettingsQuarantineTest, WritesTheQuarantineFolderAsItHasToStand) {
  FakePage& page = shown();
  page.write("quarantineFolder", "~/Q");
  EXPECT_EQ(ownText(), "QuarantineFolder = \"~/Q/\"\n");
  page.press("chooseQuarantineFolder");
  window.choosePaths({"/srv/\xE9"});
  EXPECT_EQ(ownText(), "QuarantineFolder = { URI = \"file:///srv/%E9/\" }\n");
  page.write("quarantineFolder", "Q");
  EXPECT_EQ(page.text("notice"), "<SETTINGS_WHOLE_PATH>");
  EXPECT_EQ(ownText(), "QuarantineFolder = { URI = \"file:///srv/%E9/\" }\n");
}

TEST_F(SettingsQuarantineTest, KeepsWhatElseStandsBesideTheQuarantineFolder) {
  writeOwn("[QuarantineFolder]\nURI = \"file:///old/\"\nnote = \"x\"\n");
  shown().write("quarantineFolder", "/new/");
  EXPECT_EQ(ownText(), "QuarantineFolder = { note = \"x\", path = \"/new/\" }\n");
}

TEST_F(SettingsQuarantineTest, AsksBeforeTheQuarantineSwallowsAGuardedFolder) {
  writeOwn("[[QuilloFolderArray]]\npathName = '~/docs'\nWatchSubdirs = true\n");
  FakePage& page = shown();
  page.write("quarantineFolder", "~");
  ASSERT_EQ(window.questions.size(), 1U);
  EXPECT_TRUE(window.questions.at(0).isDangerous);
  window.answer("<SETTINGS_CANCEL>");
  EXPECT_EQ(page.text("quarantineFolder"), "");
  page.write("quarantineFolder", "~");
  window.answer("<SETTINGS_TAKE_IT>");
  EXPECT_NE(ownText().find("QuarantineFolder = "), std::string::npos);
}

TEST_F(SettingsQuarantineTest, AsksBeforeAFolderWithFilesBecomesTheQuarantine) {
  home.write("docs/letter", "");
  FakePage& page = shown();
  page.write("quarantineFolder", "~/docs");
  ASSERT_EQ(window.questions.size(), 1U);
  EXPECT_EQ(window.questions.at(0).text, "<SETTINGS_ASK_QUARANTINE_FULL>");
  EXPECT_TRUE(window.questions.at(0).isDangerous);
  window.answer("<SETTINGS_CANCEL>");
  EXPECT_EQ(restarts(), 0);
  // What was a quarantine before may be one again.
  home.makeFolder("docs/.vantrel-records");
  page.write("quarantineFolder", "~/docs");
  EXPECT_EQ(window.questions.size(), 1U);
  EXPECT_EQ(page.text("quarantineFolder"), "~/docs/");
}

TEST_F(SettingsQuarantineTest, AsksBeforeTheQuarantineComesToLieInAGuardedFolder) {
  writeOwn("[[QuilloFolderArray]]\npathName = '~/docs'\nWatchSubdirs = true\n");
  FakePage& page = shown();
  page.write("quarantineFolder", "~/docs/q");
  ASSERT_EQ(window.questions.size(), 1U);
  EXPECT_EQ(window.questions.at(0).text, "<SETTINGS_ASK_QUARANTINE_INSIDE>");
}

TEST_F(SettingsQuarantineTest, SaysThatWhatLiesInTheOldQuarantineStaysThere) {
  home.write("old/bad", "");
  writeOwn("QuarantineFolder = '~/old/'\n");
  FakePage& page = shown();
  page.write("quarantineFolder", "~/new");
  EXPECT_EQ(page.text("notice"), "<SETTINGS_OLD_QUARANTINE>");
  EXPECT_TRUE(page.isVisible("notice"));
}

TEST_F(SettingsQuarantineTest, AsksBeforeAFolderOfItsUsersBecomesTheQuarantineByAChoice) {
  home.write("Quarantine/letter", "");
  FakePage& page = shown();
  page.choose("infectedFileAction", 1);
  ASSERT_EQ(window.questions.size(), 1U);
  EXPECT_EQ(window.questions.at(0).text, "<SETTINGS_ASK_QUARANTINE_FULL>");
  EXPECT_EQ(ownText(), "");
  window.answer("<SETTINGS_CANCEL>");
  EXPECT_EQ(page.choice("infectedFileAction"), 0U);
  page.choose("infectedFileAction", 1);
  window.answer("<SETTINGS_TAKE_IT>");
  EXPECT_EQ(ownText(), "QuilloQuarantineFiles = true\nQuarantineFolder = \"~/Quarantine/\"\n");
}

}  // namespace
}  // namespace quillo
