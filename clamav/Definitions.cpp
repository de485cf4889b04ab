#include "clamav/Definitions.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace quillo {
namespace {

// Notes the file's age in `newest`; false when there is no such file to read.
bool noteDefinitions(const std::string& file, DefinitionSet& set) {
  struct stat status = {};
  if (stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0 ||
      access(file.c_str(), R_OK) != 0) {
    return false;
  }
  const auto written = std::chrono::system_clock::from_time_t(status.st_mtime);
  set.newest = std::max(set.newest.value_or(written), written);
  return true;
}

bool noteEither(const std::string& stem, DefinitionSet& set) {
  const bool whole = noteDefinitions(stem + ".cvd", set);
  const bool updated = noteDefinitions(stem + ".cld", set);
  return whole || updated;
}

}  // namespace

DefinitionSet definitionsIn(const std::string& folder) {
  DefinitionSet set;
  set.main = noteEither(folder + "/main", set);
  set.daily = noteEither(folder + "/daily", set);
  return set;
}

bool holdsRealDefinitions(const std::string& folder) {
  static constexpr std::array<std::string_view, 8> endings = {".cvd", ".cld", ".cud", ".hdb",
                                                              ".hsb", ".ldb", ".mdb", ".ndb"};
  std::error_code failure;
  std::filesystem::directory_iterator entry(folder, failure);
  while (!failure && entry != std::filesystem::directory_iterator()) {
    const std::string name = entry->path().filename().string();
    const bool isDefinition = std::any_of(endings.begin(), endings.end(),
                                          [&name](auto ending) { return name.ends_with(ending); });
    if (isDefinition && name != builtInDefinitionFile) {
      return true;
    }
    entry.increment(failure);
  }
  return false;
}

std::string eicarTestFile() {
  // In pieces, so that no scanner takes this program or its source for the test file.
  std::string content = "X5O!P%@AP[4\\PZX54(P^)7CC)7}";
  content += "$EICAR-STANDARD-";
  content += "ANTIVIRUS-TEST-";
  content += "FILE!$H+H*";
  return content;
}

std::string builtInDefinition() {
  std::string line = "Eicar-Test-Signature:0:0:";
  for (const char c : eicarTestFile()) {
    constexpr char digits[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    line += digits[byte >> 4U];
    line += digits[byte & 0xFU];
  }
  return line + "\n";
}

}  // namespace quillo
