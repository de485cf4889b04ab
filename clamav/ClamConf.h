#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillo {

// The options of a ClamAV configuration file as the engine reads them: one "Option Argument" a
// line, the first line of an option counts, lines that begin with "#" are comments, quotes around
// an argument do not belong to it (clamd.conf(5)).
class ClamConf {
 public:
  static ClamConf parse(std::string_view text);
  // Nothing when the file cannot be read, is no regular file or holds more than `largest` bytes.
  // Never waits for a pipe or a device of that name. Any thread.
  static constexpr std::uint64_t largest = 1024ULL * 1024;
  static std::optional<ClamConf> read(const std::string& path);
  // The same file as it lies on the disk.
  static std::optional<std::string> bytesOf(const std::string& path);

  bool has(std::string_view option) const;
  // The argument of the option's first line, as ClamAV takes it; `fallback` when there is none.
  std::string value(std::string_view option, std::string_view fallback = "") const;
  // Bytes, with the units K, M and G in either case; absent for what is no size.
  std::optional<std::uint64_t> size(std::string_view option) const;
  // "yes", "true" and "1" in either case; `fallback` when there is no such line.
  bool flag(std::string_view option, bool fallback) const;

 private:
  std::vector<std::pair<std::string, std::string>> options_;
};

}  // namespace quillo
