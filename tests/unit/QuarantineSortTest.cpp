#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/fakes/scanning/QuarantinePageFixture.h"

namespace quillo {
namespace {

using By = QuarantineOrder::By;
using Names = std::vector<std::string>;

constexpr std::size_t nameColumn = static_cast<std::size_t>(By::name);
constexpr std::size_t movedColumn = static_cast<std::size_t>(By::moved);
constexpr std::size_t sizeColumn = static_cast<std::size_t>(By::size);

// In which order the page shows what lies there: moved in the order beta, Alpha, gamma.
class QuarantineSortTest : public QuarantinePageFixture {
 protected:
  QuarantineSortTest() {
    quarantined("home/beta", "22");
    clock.advance(std::chrono::seconds(1));
    quarantined("other/Alpha", "333");
    clock.advance(std::chrono::seconds(1));
    quarantined("home/gamma", "1");
    show();
  }
  Names shownNames() {
    Names all;
    for (std::size_t row = 0; row < rows(); ++row) {
      all.push_back(page.row("files", row).cells[0]);
    }
    return all;
  }
  Names selectedNames() {
    Names all;
    for (const std::size_t row : page.selectedRows("files")) {
      all.push_back(page.row("files", row).cells[0]);
    }
    return all;
  }
};

TEST_F(QuarantineSortTest, BeginsWithTheLatest) {
  EXPECT_EQ(shownNames(), (Names{"gamma", "Alpha", "beta"}));
  EXPECT_EQ(page.choice("sortBy"), movedColumn);
  EXPECT_EQ(page.markedTitle("files"), std::pair(movedColumn, false));
  EXPECT_EQ(page.choices("sortBy"), page.titles("files"));
}

TEST_F(QuarantineSortTest, FollowsTheBoxes) {
  page.choose("sortBy", nameColumn);
  EXPECT_EQ(shownNames(), (Names{"Alpha", "beta", "gamma"}));
  EXPECT_EQ(page.markedTitle("files"), std::pair(nameColumn, true));
  page.check("reversed", true);
  EXPECT_EQ(shownNames(), (Names{"gamma", "beta", "Alpha"}));
  EXPECT_EQ(page.markedTitle("files"), std::pair(nameColumn, false));
  page.choose("sortBy", movedColumn);
  EXPECT_EQ(shownNames(), (Names{"beta", "Alpha", "gamma"}));
}

TEST_F(QuarantineSortTest, FollowsAPressedTitleAndTurnsRoundAtTheNext) {
  page.pressTitle("files", sizeColumn);
  EXPECT_EQ(shownNames(), (Names{"Alpha", "beta", "gamma"}));
  EXPECT_EQ(page.choice("sortBy"), sizeColumn);
  EXPECT_EQ(page.markedTitle("files"), std::pair(sizeColumn, false));
  page.pressTitle("files", sizeColumn);
  EXPECT_EQ(shownNames(), (Names{"gamma", "beta", "Alpha"}));
  EXPECT_TRUE(page.isChecked("reversed"));
  page.pressTitle("files", static_cast<std::size_t>(By::origin));
  EXPECT_EQ(shownNames(), (Names{"beta", "gamma", "Alpha"}));
  EXPECT_FALSE(page.isChecked("reversed"));
}

TEST_F(QuarantineSortTest, LeavesEqualOnesInTheirOrder) {
  page.choose("sortBy", static_cast<std::size_t>(By::threat));
  EXPECT_EQ(shownNames(), (Names{"gamma", "Alpha", "beta"}));
}

TEST_F(QuarantineSortTest, KeepsTheFilesSelectedAndNotTheRows) {
  page.select("files", {0, 2});
  page.choose("sortBy", nameColumn);
  EXPECT_EQ(selectedNames(), (Names{"beta", "gamma"}));
  page.pressTitle("files", nameColumn);
  EXPECT_EQ(selectedNames(), (Names{"gamma", "beta"}));
  EXPECT_EQ(page.text("fileValue"), "<QUARANTINE_CHOSEN_MANY>");
}

TEST_F(QuarantineSortTest, ActsOnTheFilesThatAreSelectedInIt) {
  page.choose("sortBy", nameColumn);
  page.select("files", {0});
  EXPECT_EQ(page.text("fileValue"), folder + "/Alpha");
  putBack();
  EXPECT_EQ(shownNames(), (Names{"beta", "gamma"}));
  EXPECT_TRUE(TemporaryFolder::exists(scratch.at("other/Alpha")));
}

TEST_F(QuarantineSortTest, KeepsItsOrderWhenAnotherFileComes) {
  page.choose("sortBy", nameColumn);
  page.select("files", {1});
  quarantined("home/aleph");
  shown->listChanged();
  work();
  EXPECT_EQ(shownNames(), (Names{"aleph", "Alpha", "beta", "gamma"}));
  EXPECT_EQ(selectedNames(), Names{"beta"});
}

TEST_F(QuarantineSortTest, HasWhatIsCleanByNowTogether) {
  strings.texts["QUARANTINE_STATE_INFECTED"] = "quarantined";
  strings.texts["QUARANTINE_STATE_STILL"] = "still infected";
  strings.texts["QUARANTINE_STATE_CLEAN"] = "clean";
  verdict = [](const QuarantinedFile& file) {
    return file.name == "Alpha" ? QuarantineRecord::Check::clean
                                : QuarantineRecord::Check::infected;
  };
  press("checkButton");
  page.choose("sortBy", static_cast<std::size_t>(By::state));
  EXPECT_EQ(shownNames(), (Names{"Alpha", "gamma", "beta"}));
}

}  // namespace
}  // namespace quillo
