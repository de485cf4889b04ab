#include <gtest/gtest.h>

#include "tests/fakes/scanning/QuarantinePageFixture.h"

namespace quillo {
namespace {

// What comes, or is asked for, while the page is looked at and its list is being read.
using QuarantinePageLiveTest = QuarantinePageFixture;

TEST_F(QuarantinePageLiveTest, DoesWhatWasAgreedToWhileTheListIsBeingRead) {
  quarantined("home/a");
  show();
  page.select("files", {0});
  page.press("deleteButton");
  window.answer("<QUARANTINE_DELETE_CONTINUE>");
  shown->refresh();
  window.answer("<QUARANTINE_DELETE_FOR_GOOD>");
  shown->refresh();
  work();
  EXPECT_TRUE(page.isVisible("progress"));
  EXPECT_FALSE(page.isEnabled("refreshButton"));
  work();
  EXPECT_FALSE(TemporaryFolder::exists(folder + "/a"));
  EXPECT_EQ(summary(), "<QUARANTINE_DELETED_ONE>");
  EXPECT_EQ(rows(), 0U);
  EXPECT_FALSE(page.isVisible("progress"));
}

TEST_F(QuarantinePageLiveTest, ShowsAFileThatComesWhileItIsLookedAt) {
  quarantined("home/a");
  show();
  page.select("files", {0});
  quarantined("home/b");
  shown->listChanged();
  EXPECT_TRUE(page.isEnabled("restoreButton")) << "nobody asked for it";
  EXPECT_FALSE(page.isVisible("progress"));
  work();
  EXPECT_EQ(rows(), 2U);
  EXPECT_EQ(summary(), "<QUARANTINE_FILES_MANY>");
  const std::vector<std::size_t> selected = page.selectedRows("files");
  ASSERT_EQ(selected.size(), 1U);
  EXPECT_EQ(page.row("files", selected.front()).cells[0], "a");
}

TEST_F(QuarantinePageLiveTest, ShowsAFileThatCameWhileTheListWasBeingRead) {
  quarantined("home/a");
  window.show("quarantine");
  shown->listChanged();
  work();
  EXPECT_EQ(rows(), 1U);
  ASSERT_EQ(threads.names().size(), 2U) << "it is read no more";
  quarantined("home/b");
  work();
  EXPECT_EQ(rows(), 2U);
}

TEST_F(QuarantinePageLiveTest, KeepsWhatItSaidOfAnActionWhileNothingElseComes) {
  quarantined("home/a");
  quarantined("home/b");
  show();
  page.select("files", {0});
  putBack();
  EXPECT_EQ(summary(), "<QUARANTINE_RESTORED_ONE>");
  shown->listChanged();
  work();
  EXPECT_EQ(summary(), "<QUARANTINE_RESTORED_ONE>");
}

TEST_F(QuarantinePageLiveTest, SelectsTheFileToWhichItsUserWasLed) {
  for (const char* const name : {"home/a", "home/b", "home/c"}) {
    quarantined(name);
  }
  window.show("quarantine");
  shown->select(folder + "/b");
  work();
  const std::vector<std::size_t> selected = page.selectedRows("files");
  ASSERT_EQ(selected.size(), 1U);
  EXPECT_EQ(page.row("files", selected.front()).cells[0], "b");
  EXPECT_EQ(page.text("fileValue"), folder + "/b");
}

}  // namespace
}  // namespace quillo
