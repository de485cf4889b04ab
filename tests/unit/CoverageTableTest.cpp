#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "benchmarks/coverage/CoverageTable.h"

namespace bench {
namespace {

CoverageTable small() {
  CoverageTable table;
  table.machine = {{"Kernel", "Linux 6"}};
  table.guards = {"one", "two"};
  table.rows = {{"written", {{3, 3}, {2, 3}}, ""},
                {"vfat: written", {{0, 0}, {0, 0}}, "no such file system"},
                {"vfat: renamed in", {}, "no such file system"}};
  table.notes = {"What yes means."};
  return table;
}

TEST(CoverageTable, SaysYesOnlyIfEveryRoundFoundIt) {
  EXPECT_EQ(cellOf({3, 3}), "yes");
  EXPECT_EQ(cellOf({2, 3}), "2 of 3");
  EXPECT_EQ(cellOf({0, 3}), "no");
}

TEST(CoverageTable, SaysNeitherYesNorNoWithoutARound) { EXPECT_EQ(cellOf({0, 0}), "-"); }

TEST(CoverageTable, HasARowForEachWayAndAColumnForEachGuard) {
  EXPECT_EQ(markdownOf(small()),
            "- Kernel: Linux 6\n\n"
            "| How a file comes to be | one | two |\n"
            "|---|---|---|\n"
            "| written | yes | 2 of 3 |\n"
            "| vfat: written | not to be had here | not to be had here |\n"
            "| vfat: renamed in | not to be had here | not to be had here |\n\n"
            "- What yes means.\n"
            "- Not to be had here: vfat: written; vfat: renamed in (no such file system)\n");
}

TEST(CoverageTable, IsNotTornByWhatStandsInACell) {
  CoverageTable table = small();
  table.rows = {{"a|b\nc", {{1, 1}, {1, 1}}, ""}};
  EXPECT_NE(markdownOf(table).find("| a\\|b c | yes | yes |\n"), std::string::npos);
}

TEST(CoverageTable, ToldAsJsonHasTheCountsOrTheReason) {
  const auto document = nlohmann::json::parse(jsonOf(small()));
  EXPECT_EQ(document["machine"]["Kernel"], "Linux 6");
  EXPECT_EQ(document["rows"][0]["found"], nlohmann::json({3, 2}));
  EXPECT_EQ(document["rows"][0]["rounds"], nlohmann::json({3, 3}));
  EXPECT_EQ(document["rows"][1]["unavailable"], "no such file system");
  EXPECT_FALSE(document["rows"][1].contains("found"));
}

TEST(CoverageTable, ToldAsJsonIsReadableWhateverBytesItHolds) {
  CoverageTable table = small();
  table.rows[1].unavailable = "\xff";
  EXPECT_TRUE(nlohmann::json::accept(jsonOf(table)));
}

}  // namespace
}  // namespace bench
