// docs/reliability.md names tests; each of them is there.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "posix/Text.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

// "Suite.Name" of every test in a source.
void collect(const std::string& source, std::set<std::string>& names) {
  for (const char* macro : {"\nTEST(", "\nTEST_F(", "\nTEST_P("}) {
    for (std::size_t at = source.find(macro); at != std::string::npos;
         at = source.find(macro, at + 1)) {
      const std::size_t begin = source.find('(', at) + 1;
      std::string name = source.substr(begin, source.find(')', begin) - begin);
      std::erase_if(name, [](char c) { return c == ' ' || c == '\n'; });
      std::replace(name.begin(), name.end(), ',', '.');
      names.insert(name);
    }
  }
}

std::set<std::string> allTests() {
  std::set<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(QUILLO_SOURCE_DIR "/tests")) {
    if (entry.path().extension() == ".cpp") {
      collect(TemporaryFolder::read(entry.path().string()), names);
    }
  }
  return names;
}

// What stands in the last column, line by line of the tables that have one of tests.
std::vector<std::string> lastColumns() {
  const std::string text = TemporaryFolder::read(QUILLO_SOURCE_DIR "/docs/reliability.md");
  std::vector<std::string> columns;
  bool namesTests = false;
  for (const std::string_view line : split(text, '\n')) {
    const bool isHeader = line.ends_with("| Shown by |");
    namesTests = line.starts_with('|') && (namesTests || isHeader);
    if (namesTests && !isHeader && line.starts_with("| ")) {
      const std::size_t last = line.rfind('|', line.size() - 2);
      columns.emplace_back(line.substr(last + 1, line.size() - last - 2));
    }
  }
  return columns;
}

TEST(ReliabilityTable, NamesForEachFaultTestsThatAreThere) {
  const std::set<std::string> tests = allTests();
  const std::vector<std::string> columns = lastColumns();
  EXPECT_GT(columns.size(), 40U);
  for (const std::string& column : columns) {
    const std::vector<std::string_view> pieces = split(column, '`');
    EXPECT_GT(pieces.size(), 2U) << column;
    for (std::size_t name = 1; name < pieces.size(); name += 2) {
      EXPECT_EQ(tests.count(std::string(pieces[name])), 1U) << pieces[name];
    }
  }
}

}  // namespace
}  // namespace quillo
