#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillo {

// The options of a ClamAV configuration file, in their order: one "Option Argument" a line, lines
// that begin with "#" are comments, quotes around an argument do not count (clamd.conf(5)).
class ClamConf {
 public:
  static ClamConf parse(std::string_view text);
  // Nothing when the file cannot be read. Any thread.
  static std::optional<ClamConf> read(const std::string& path);

  bool has(std::string_view option) const;
  // The argument of the option's first line, as ClamAV takes it; `fallback` when there is none.
  std::string value(std::string_view option, std::string_view fallback = "") const;

 private:
  std::vector<std::pair<std::string, std::string>> options_;
};

}  // namespace quillo
