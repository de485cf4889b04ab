#include <gtest/gtest.h>

#include "benchmarks/support/Table.h"

namespace bench {
namespace {

Table smallTable() {
  Table table;
  table.title = "Storm";
  table.columns = {"Way", "found", "time, s"};
  table.rows = {{"agent", {"10 of 10", Samples({1, 3, 2})}}, {"other", {"8 of 10", Samples()}}};
  return table;
}

TEST(BenchTable, HasALineForEachRowInMarkdown) {
  EXPECT_EQ(markdown({smallTable()}),
            "## Storm\n\n"
            "| Way | found | time, s |\n"
            "| --- | --- | --- |\n"
            "| agent | 10 of 10 | 2 (1–3) |\n"
            "| other | 8 of 10 | – |\n\n");
}

TEST(BenchTable, HasItsWordsAboveAndItsNotesBelow) {
  Table table = smallTable();
  table.about = "Ten files.";
  table.notes = {"One.", "Two."};
  const std::string text = markdown({table});
  EXPECT_TRUE(text.starts_with("## Storm\n\nTen files.\n\n| Way")) << text;
  EXPECT_TRUE(text.ends_with("– |\n\n- One.\n- Two.\n\n")) << text;
}

TEST(BenchTable, ABarInACellDoesNotEndIt) {
  Table table;
  table.columns = {"a", "b"};
  table.rows = {{"x|y", {"1|2\n3"}}};
  EXPECT_NE(markdown({table}).find("| x\\|y | 1\\|2 3 |\n"), std::string::npos);
}

TEST(BenchTable, HasEachValueInJson) {
  EXPECT_EQ(json({smallTable()}),
            R"([
 {
  "title": "Storm",
  "about": "",
  "rows": [
   {
    "Way": "agent",
    "found": "10 of 10",
    "time, s": {
     "median": 2.0,
     "least": 1.0,
     "greatest": 3.0,
     "values": [
      1.0,
      3.0,
      2.0
     ]
    }
   },
   {
    "Way": "other",
    "found": "8 of 10",
    "time, s": null
   }
  ],
  "notes": []
 }
]
)");
}

TEST(BenchTable, IsJsonWhateverTheBytesOfAName) {
  Table table;
  table.columns = {"a", "b"};
  table.rows = {{"\xff", {"\xc3"}}};
  EXPECT_NE(json({table}).find("\xef\xbf\xbd"), std::string::npos);
}

}  // namespace
}  // namespace bench
