#pragma once

#include <string>
#include <variant>
#include <vector>

#include "benchmarks/support/Samples.h"

namespace bench {

// What stands in a cell: words, or what was measured.
using Cell = std::variant<std::string, Samples>;

// A table of one group. The first column has the rows' names; each other one names its unit in its
// heading.
struct Table {
  struct Row {
    std::string name;
    std::vector<Cell> cells;
  };

  std::string title;
  std::string about;  // a sentence or two above it
  std::vector<std::string> columns;
  std::vector<Row> rows;
  std::vector<std::string> notes;  // below it
};

// The tables in Markdown: median, least and greatest of what was measured. Pure.
std::string markdown(const std::vector<Table>& tables);
// The same in JSON, with each single value. Pure.
std::string json(const std::vector<Table>& tables);

}  // namespace bench
