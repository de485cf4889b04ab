#pragma once

#include <cstddef>
#include <fstream>
#include <string>

#include "history/Sql.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// Damages the first page of entries that SQLite has of a table or an index (sqlite.org/fileformat2,
// section 1.6), so that only who reads these notices. Nobody may write the database meanwhile.
inline void damageFirstEntriesOf(const std::string& database, const std::string& name) {
  std::size_t size = 0;
  std::size_t page = 0;
  {
    const SqlConnection sql(database, SqlConnection::Access::read);
    size = static_cast<std::size_t>(sql.number("PRAGMA page_size"));
    page = static_cast<std::size_t>(
        sql.number("SELECT rootpage FROM sqlite_master WHERE name = '" + name + "'"));
  }
  const std::string bytes = TemporaryFolder::read(database);
  const auto number = [&bytes](std::size_t at, int length) {
    std::size_t value = 0;
    for (int byte = 0; byte < length; ++byte) {
      value = value << 8U | static_cast<unsigned char>(bytes.at(at + static_cast<unsigned>(byte)));
    }
    return value;
  };
  std::size_t start = (page - 1) * size;
  // 2 and 5 are pages that lead to others, the first of them by their first cell.
  while (bytes.at(start) == 2 || bytes.at(start) == 5) {
    start = (number(start + number(start + 12, 2), 4) - 1) * size;
  }
  std::fstream file(database, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(start));
  file << std::string(size, 'x');
}

}  // namespace quillo
