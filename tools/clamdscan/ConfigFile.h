#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace quillo::front {

// A file of "Key value" lines, "#" beginning a comment line, the first of several lines of one key
// counting, values with or without double quotes: clamd.conf(5), as the daemon reads it.
class ConfigFile {
 public:
  // A file that cannot be read is an empty one. Any thread.
  static ConfigFile read(const std::string& path);
  static ConfigFile parse(std::string_view text);

  std::optional<std::string> value(std::string_view key) const;
  // Bytes, with the units K, M and G in either case; absent for what is no size.
  std::optional<std::uint64_t> size(std::string_view key) const;

 private:
  std::map<std::string, std::string, std::less<>> values_;
};

// What the answering daemon does not look at.
struct ScanLimits {
  std::uint64_t largestFile = 0;  // bytes; a file of more is called clean without a look
  std::chrono::milliseconds longestScan{0};

  // From the daemon's configuration, with clamd.conf(5)'s defaults for absent keys.
  static ScanLimits of(const ConfigFile& daemon);
};

// "100 MB", "3 KB", "94 bytes".
std::string sizeText(std::uint64_t bytes);

}  // namespace quillo::front
