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
  // Return the options of a file, or its bytes; nothing when it cannot be read, is no regular file
  // or holds more than `largest` bytes. Never wait for a pipe or a device of that name. Any thread.
  static constexpr std::uint64_t largest = 1024ULL * 1024;
  static std::optional<ClamConf> read(const std::string& path);
  static std::optional<std::string> bytesOf(const std::string& path);

  bool has(std::string_view option) const;
  // Returns the argument of the option's first line, as ClamAV takes it; `fallback` without one.
  std::string value(std::string_view option, std::string_view fallback = "") const;
  // Returns bytes, with the units K, M and G in either case; nothing for what is no size.
  std::optional<std::uint64_t> size(std::string_view option) const;
  // Returns true for "yes", "true" and "1" in either case; `fallback` when there is no such line.
  bool flag(std::string_view option, bool fallback) const;

 private:
  std::vector<std::pair<std::string, std::string>> options_;
};

// Returns the configuration of the daemon behind an engine tree: the tree's own, or, where its
// etc/front.conf names one as "DaemonConfig", the machine's; empty where neither can be read. Any
// thread.
ClamConf configurationBehind(const std::string& tree);

// How an agent learns the socket of a daemon from its clamd.conf(5), whatever the daemon itself
// would make of the file.
struct LocalSocketLine {
  // The number of the text encoding that was found: 4 UTF-8, 5 ISO Latin-1, 10 UTF-16; 0 when no
  // file was read.
  int encoding = 0;
  // What stands behind the last "LocalSocket ", to the end of its line or to the next one;
  // nothing when no line counts.
  std::optional<std::string> path;
};

// Reads a file's bytes as they lie on the disk. A line of less than 13 characters names no socket,
// "#LocalSocket /a" names one like any other line, and what stands at the end of a line, a carriage
// return or a blank, belongs to the path. Pure; any thread.
LocalSocketLine discernLocalSocket(const std::string& bytes);

}  // namespace quillo
