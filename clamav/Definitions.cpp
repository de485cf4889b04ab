#include "clamav/Definitions.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <vector>

#include "posix/FolderReader.h"

namespace quillo {
namespace {

constexpr std::size_t headerSize = 512;

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

namespace {

// The names of the definitions in the folder, but that of the built-in one.
std::vector<std::string> realDefinitionsIn(const std::string& folder) {
  static constexpr std::array<std::string_view, 8> endings = {".cvd", ".cld", ".cud", ".hdb",
                                                              ".hsb", ".ldb", ".mdb", ".ndb"};
  std::vector<std::string> names;
  FolderReader reader(folder, Links::followed);
  while (const dirent* entry = reader.next()) {
    const std::string_view name = entry->d_name;
    const bool isDefinition = std::any_of(endings.begin(), endings.end(),
                                          [name](auto ending) { return name.ends_with(ending); });
    if (isDefinition && name != builtInDefinitionFile) {
      names.emplace_back(name);
    }
  }
  return names;
}

std::string beginningOf(const std::string& path) {
  std::array<char, headerSize> bytes;
  std::ifstream file(path, std::ios::binary);
  file.read(bytes.data(), bytes.size());
  return {bytes.data(), static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0))};
}

}  // namespace

bool holdsRealDefinitions(const std::string& folder) { return !realDefinitionsIn(folder).empty(); }

std::optional<std::chrono::system_clock::time_point> buildTimeIn(std::string_view header) {
  constexpr std::string_view beginning = "ClamAV-VDB:";
  constexpr std::size_t buildTimeField = 8;
  header = header.substr(0, headerSize);
  if (!header.starts_with(beginning)) {
    return std::nullopt;
  }
  for (std::size_t field = 0; field < buildTimeField; ++field) {
    const std::size_t colon = header.find(':');
    if (colon == std::string_view::npos) {
      return std::nullopt;
    }
    header.remove_prefix(colon + 1);
  }
  std::int64_t seconds = 0;
  const auto [end, error] = std::from_chars(header.data(), header.data() + header.size(), seconds);
  constexpr std::int64_t greatest = std::int64_t{1} << 33;
  if (error != std::errc() || end == header.data() || seconds <= 0 || seconds > greatest) {
    return std::nullopt;
  }
  return std::chrono::system_clock::from_time_t(seconds);
}

std::optional<std::chrono::system_clock::time_point> definitionsBuiltIn(const std::string& folder) {
  std::optional<std::chrono::system_clock::time_point> built;
  for (const char* name : {"/main.cvd", "/main.cld", "/daily.cvd", "/daily.cld"}) {
    if (const auto stated = buildTimeIn(beginningOf(folder + name))) {
      built = std::max(built.value_or(*stated), *stated);
    }
  }
  if (built) {
    return built;
  }
  DefinitionSet others;
  for (const std::string& name : realDefinitionsIn(folder)) {
    noteDefinitions(folder + "/" + name, others);
  }
  return others.newest;
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
