#include "tools/clamdscan/ConfigFile.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>

#include "posix/Text.h"

namespace quillo::front {
namespace {

constexpr std::uint64_t kibi = 1024;

// The engine takes no file of more bytes, whatever its configuration says (measured, 1.4).
constexpr std::uint64_t engineCeiling = 2147483645;

std::uint64_t unitOf(std::string_view text) {
  if (text == "K" || text == "k") return kibi;
  if (text == "M" || text == "m") return kibi * kibi;
  if (text == "G" || text == "g") return kibi * kibi * kibi;
  return text.empty() ? 1 : 0;
}

}  // namespace

ConfigFile ConfigFile::read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return parse(std::string(std::istreambuf_iterator<char>(file), {}));
}

ConfigFile ConfigFile::parse(std::string_view text) {
  ConfigFile result;
  for (const std::string_view whole : split(text, '\n')) {
    const std::string_view line = trimmed(whole);
    const std::size_t end = line.find_first_of(" \t");
    if (line.empty() || line[0] == '#' || end == std::string_view::npos) {
      continue;
    }
    std::string_view value = trimmed(line.substr(end));
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
      value = value.substr(1, value.size() - 2);
    }
    result.values_.emplace(line.substr(0, end), value);
  }
  return result;
}

std::optional<std::string> ConfigFile::value(std::string_view key) const {
  const auto found = values_.find(key);
  return found == values_.end() ? std::nullopt : std::optional<std::string>(found->second);
}

std::optional<std::uint64_t> ConfigFile::size(std::string_view key) const {
  const auto found = values_.find(key);
  if (found == values_.end()) {
    return std::nullopt;
  }
  const std::string& text = found->second;
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const std::uint64_t unit =
      unitOf(std::string_view(end, static_cast<std::size_t>(text.data() + text.size() - end)));
  if (error != std::errc() || unit == 0 || number > UINT64_MAX / unit) {
    return std::nullopt;
  }
  return number * unit;
}

ScanLimits ScanLimits::of(const ConfigFile& daemon) {
  ScanLimits limits;
  limits.largestFile = engineCeiling;
  for (const std::uint64_t limit : {daemon.size("MaxFileSize").value_or(100 * kibi * kibi),
                                    daemon.size("MaxScanSize").value_or(400 * kibi * kibi)}) {
    if (limit != 0) {
      limits.largestFile = std::min(limits.largestFile, limit);
    }
  }
  // A day is as good as for ever, and cannot overflow.
  constexpr std::uint64_t day = 24ULL * 60 * 60 * 1000;
  limits.longestScan = std::chrono::milliseconds(
      static_cast<std::int64_t>(std::min(day, daemon.size("MaxScanTime").value_or(120000))));
  return limits;
}

std::string sizeText(std::uint64_t bytes) {
  if (bytes >= kibi * kibi && bytes % (kibi * kibi) == 0) {
    return std::to_string(bytes / (kibi * kibi)) + " MB";
  }
  if (bytes >= kibi && bytes % kibi == 0) {
    return std::to_string(bytes / kibi) + " KB";
  }
  return std::to_string(bytes) + " bytes";
}

}  // namespace quillo::front
