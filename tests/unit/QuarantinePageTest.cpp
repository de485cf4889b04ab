#include <gtest/gtest.h>

#include <filesystem>

#include "tests/fakes/scanning/QuarantinePageFixture.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

using QuarantinePageTest = QuarantinePageFixture;

TEST_F(QuarantinePageTest, ShowsWhatLiesThere) {
  const std::string path = quarantined("home/a");
  show();
  ASSERT_EQ(rows(), 1U);
  const TableRows::Row row = page.row("files", 0);
  EXPECT_EQ(row.cells[0], "a");
  EXPECT_EQ(row.cells[1], path);
  EXPECT_EQ(row.cells[2], "Eicar");
  EXPECT_EQ(row.cells.size(), page.titles("files").size());
  EXPECT_EQ(row.sign, TableRows::Sign::threat);
  EXPECT_EQ(summary(), "<QUARANTINE_FILES_ONE>");
}

TEST_F(QuarantinePageTest, ShowsWhatIsKnownOfTheSelectedFile) {
  const std::string path = quarantined("home/a");
  show();
  EXPECT_EQ(page.text("hashValue"), "");
  page.select("files", {0});
  EXPECT_EQ(page.text("fileValue"), folder + "/a");
  EXPECT_EQ(page.text("originValue"), path);
  EXPECT_EQ(page.text("hashValue"), sha256Of("bad"));
}

TEST_F(QuarantinePageTest, OffersNothingToDoWithoutASelection) {
  quarantined("home/a");
  show();
  for (const char* const button :
       {"restoreButton", "restoreToButton", "deleteButton", "allowButton"}) {
    EXPECT_FALSE(page.isEnabled(button)) << button;
  }
  page.select("files", {0});
  EXPECT_TRUE(page.isEnabled("restoreButton"));
}

TEST_F(QuarantinePageTest, OffersNothingTwiceWhileItWorks) {
  quarantined("home/a");
  show();
  page.select("files", {0});
  page.press("restoreButton");
  window.answer("<QUARANTINE_RESTORE_ALL_THE_SAME>");
  EXPECT_FALSE(page.isEnabled("restoreButton"));
  EXPECT_FALSE(page.isEnabled("deleteButton"));
  EXPECT_TRUE(page.isVisible("progress"));
  work();
  EXPECT_FALSE(page.isVisible("progress"));
}

TEST_F(QuarantinePageTest, PutsSeveralBackAndReportsEachThatStayed) {
  const std::string a = quarantined("home/a");
  const std::string b = quarantined("home/b");
  scratch.write("home/a", "in the way");
  show();
  page.select("files", {0, 1});
  putBack();
  EXPECT_TRUE(TemporaryFolder::exists(b));
  EXPECT_EQ(page.text("report"), "a: <QUARANTINE_REASON_TARGET_EXISTS>");
  EXPECT_TRUE(page.isVisible("report"));
  EXPECT_EQ(summary(), "<QUARANTINE_RESTORED_ONE> <QUARANTINE_NOT_DONE_ONE>");
  EXPECT_EQ(rows(), 1U);
  EXPECT_EQ(allowed, std::vector<std::string>{b});
}

TEST_F(QuarantinePageTest, MakesAFolderAnewOnlyAfterAQuestion) {
  const std::string path = quarantined("home/a");
  fs::remove(scratch.at("home"));
  show();
  page.select("files", {0});
  putBack();
  ASSERT_EQ(window.questions.size(), 2U);
  EXPECT_FALSE(TemporaryFolder::exists(scratch.at("home")));
  window.answer("<QUARANTINE_MAKE_FOLDER>");
  work();
  EXPECT_TRUE(TemporaryFolder::exists(path));
}

TEST_F(QuarantinePageTest, LeavesTheFolderAwayWhenItsUserDoesNotWantIt) {
  quarantined("home/a");
  fs::remove(scratch.at("home"));
  show();
  page.select("files", {0});
  putBack();
  window.answer("<QUARANTINE_CANCEL>");
  EXPECT_FALSE(TemporaryFolder::exists(scratch.at("home")));
  EXPECT_EQ(rows(), 1U);
}

TEST_F(QuarantinePageTest, PutsAFileIntoAChosenFolder) {
  quarantined("home/a");
  const std::string away = scratch.makeFolder("away");
  show();
  page.select("files", {0});
  page.press("restoreToButton");
  window.choosePaths({away});
  window.answer("<QUARANTINE_RESTORE_ALL_THE_SAME>");
  work();
  EXPECT_TRUE(TemporaryFolder::exists(away + "/a"));
}

TEST_F(QuarantinePageTest, MakesTheChosenFolderAnewAndNotTheOldOne) {
  quarantined("home/a");
  const std::string away = scratch.makeFolder("away");
  show();
  page.select("files", {0});
  page.press("restoreToButton");
  window.choosePaths({away});
  fs::remove(away);
  window.answer("<QUARANTINE_RESTORE_ALL_THE_SAME>");
  work();
  EXPECT_EQ(window.questions.back().detail, away);
  window.answer("<QUARANTINE_MAKE_FOLDER>");
  work();
  EXPECT_TRUE(TemporaryFolder::exists(away + "/a"));
  EXPECT_FALSE(TemporaryFolder::exists(scratch.at("home/a")));
}

TEST_F(QuarantinePageTest, SaysOnlyWhatStayedWhereNothingWasDone) {
  quarantined("home/a");
  scratch.write("home/a", "in the way");
  show();
  page.select("files", {0});
  putBack();
  EXPECT_EQ(summary(), "<QUARANTINE_NOT_DONE_ONE>");
}

TEST_F(QuarantinePageTest, AsksTwiceBeforeItDeletes) {
  quarantined("home/a");
  show();
  page.select("files", {0});
  page.press("deleteButton");
  EXPECT_TRUE(window.questions.at(0).isDangerous);
  window.answer("<QUARANTINE_DELETE_CONTINUE>");
  EXPECT_TRUE(window.questions.at(1).isDangerous);
  EXPECT_TRUE(TemporaryFolder::exists(folder + "/a"));
  window.answer("<QUARANTINE_DELETE_FOR_GOOD>");
  work();
  EXPECT_FALSE(TemporaryFolder::exists(folder + "/a"));
  EXPECT_EQ(summary(), "<QUARANTINE_DELETED_ONE>");
}

TEST_F(QuarantinePageTest, NamesWhatItIsAboutToDeleteInBothQuestions) {
  for (int number = 10; number < 22; ++number) {
    quarantined("home/f" + std::to_string(number));
  }
  show();
  page.select("files", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
  const std::string first = page.row("files", 0).cells[0];
  const std::string eleventh = page.row("files", 10).cells[0];
  page.press("deleteButton");
  window.answer("<QUARANTINE_DELETE_CONTINUE>");
  ASSERT_EQ(window.questions.size(), 2U);
  for (const Question& question : window.questions) {
    EXPECT_NE(question.detail.find(first), std::string::npos) << question.detail;
    EXPECT_EQ(question.detail.find(eleventh), std::string::npos) << question.detail;
    EXPECT_NE(question.detail.find("<QUARANTINE_ASK_MORE_MANY>"), std::string::npos);
  }
}

TEST_F(QuarantinePageTest, KeepsTheFilesSelectedAndNotTheRows) {
  quarantined("home/a");
  quarantined("home/b");
  show();
  const std::size_t rowOfA = page.row("files", 0).cells[0] == "a" ? 0 : 1;
  page.select("files", {rowOfA});
  // Another has come and one has gone: as many as before.
  fs::remove(folder + "/b");
  quarantined("home/c");
  page.press("refreshButton");
  work();
  const std::vector<std::size_t> selected = page.selectedRows("files");
  ASSERT_EQ(selected.size(), 1U);
  EXPECT_EQ(page.row("files", selected.front()).cells[0], "a");
  fs::remove(folder + "/a");
  scratch.write("q/z", "another");
  page.press("refreshButton");
  work();
  EXPECT_TRUE(page.selectedRows("files").empty());
}

TEST_F(QuarantinePageTest, DeletesNothingWhenEitherQuestionIsDenied) {
  quarantined("home/a");
  show();
  page.select("files", {0});
  page.press("deleteButton");
  window.answer("<QUARANTINE_CANCEL>");
  page.press("deleteButton");
  window.answer("<QUARANTINE_DELETE_CONTINUE>");
  window.answer("<QUARANTINE_CANCEL>");
  EXPECT_TRUE(TemporaryFolder::exists(folder + "/a"));
}

TEST_F(QuarantinePageTest, ChecksAllWithoutASelectionAndShowsWhatIsCleanByNow) {
  quarantined("home/a");
  show();
  verdict = [](const QuarantinedFile&) { return QuarantineRecord::Check::clean; };
  press("checkButton");
  EXPECT_EQ(page.row("files", 0).sign, TableRows::Sign::good);
  EXPECT_EQ(summary(), "<QUARANTINE_CHECKED_ONE> <QUARANTINE_CLEAN_ONE>");
  EXPECT_TRUE(TemporaryFolder::exists(folder + "/a"));
}

TEST_F(QuarantinePageTest, SaysWhyNothingCouldBeChecked) {
  quarantined("home/a");
  show();
  engineProblem = "no engine";
  press("checkButton");
  EXPECT_EQ(summary(), "<QUARANTINE_CHECK_FAILED>");
}

TEST_F(QuarantinePageTest, AllowsAFileThatStays) {
  const std::string path = quarantined("home/a");
  show();
  page.select("files", {0});
  page.press("allowButton");
  window.answer("<QUARANTINE_ALLOW_ALL_THE_SAME>");
  work();
  EXPECT_EQ(allowed, std::vector<std::string>{path});
  EXPECT_EQ(rows(), 1U);
}

TEST_F(QuarantinePageTest, WarnsBeforeAFileThatIsStillInfectedLeavesOrIsAllowed) {
  const std::string path = quarantined("home/a");
  const std::string away = scratch.makeFolder("away");
  show();
  page.select("files", {0});
  page.press("restoreButton");
  page.press("allowButton");
  page.press("restoreToButton");
  window.choosePaths({away});
  ASSERT_EQ(window.questions.size(), 3U);
  for (const Question& question : window.questions) {
    EXPECT_TRUE(question.isDangerous);
    EXPECT_NE(question.detail.find("a: Eicar"), std::string::npos) << question.detail;
  }
  for (int answers = 0; answers < 3; ++answers) {
    window.answer("<QUARANTINE_CANCEL>");
  }
  EXPECT_FALSE(TemporaryFolder::exists(path));
  EXPECT_TRUE(TemporaryFolder::exists(folder + "/a"));
  EXPECT_TRUE(allowed.empty());
}

TEST_F(QuarantinePageTest, PutsAFileBackUnaskedThatIsCleanByNow) {
  const std::string path = quarantined("home/a");
  show();
  verdict = [](const QuarantinedFile&) { return QuarantineRecord::Check::clean; };
  press("checkButton");
  page.select("files", {0});
  press("restoreButton");
  EXPECT_TRUE(window.questions.empty());
  EXPECT_TRUE(TemporaryFolder::exists(path));
}

TEST_F(QuarantinePageTest, SaysWhyTheFolderCannotBeUsed) {
  folder = scratch.at("none");
  show();
  EXPECT_EQ(summary(), "<QUARANTINE_PROBLEM_MISSING>");
  EXPECT_EQ(rows(), 0U);
}

TEST_F(QuarantinePageTest, OffersAnotherFolderForAFileOfUnknownOrigin) {
  scratch.write("q/own", "text");
  show();
  page.select("files", {0});
  EXPECT_FALSE(page.isEnabled("restoreButton"));
  EXPECT_TRUE(page.isEnabled("restoreToButton"));
  EXPECT_EQ(page.text("stateValue"), "<QUARANTINE_STATE_NO_RECORD>");
}

TEST_F(QuarantinePageTest, MayGoWhileAThreadWorks) {
  quarantined("home/a");
  window.show("quarantine");
  shown.reset();
  work();
  EXPECT_EQ(rows(), 0U);
}

// Its record may be of a file that was clean.
TEST_F(QuarantinePageTest, AsksBeforeAFilePutBackOfWhichItIsNotSureThatItIsTheCleanOne) {
  const std::string path = quarantined("home/a");
  show();
  verdict = [](const QuarantinedFile&) { return QuarantineRecord::Check::clean; };
  press("checkButton");
  scratch.write("other", "BAD");
  fs::rename(scratch.at("other"), folder + "/a");
  press("refreshButton");
  EXPECT_EQ(page.row("files", 0).sign, TableRows::Sign::threat);
  EXPECT_FALSE(page.isVisible("restoreCleanButton"));
  page.select("files", {0});
  page.press("restoreButton");
  EXPECT_EQ(window.questions.size(), 1U);
  EXPECT_FALSE(TemporaryFolder::exists(path));
}

TEST_F(QuarantinePageTest, PutsAllBackAtOnceThatAreCleanByNow) {
  const std::string a = quarantined("home/a");
  const std::string b = quarantined("home/b");
  const std::string c = quarantined("home/c");
  show();
  EXPECT_FALSE(page.isVisible("restoreCleanButton"));
  verdict = [](const QuarantinedFile& file) {
    return file.name == "b" ? QuarantineRecord::Check::infected : QuarantineRecord::Check::clean;
  };
  press("checkButton");
  EXPECT_TRUE(page.isVisible("restoreCleanButton"));
  press("restoreCleanButton");
  EXPECT_TRUE(window.questions.empty());
  EXPECT_TRUE(TemporaryFolder::exists(a));
  EXPECT_FALSE(TemporaryFolder::exists(b));
  EXPECT_TRUE(TemporaryFolder::exists(c));
  EXPECT_FALSE(page.isVisible("restoreCleanButton"));
}

}  // namespace
}  // namespace quillo
