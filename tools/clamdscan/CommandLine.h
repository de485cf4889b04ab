#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillo::wrapper {

// What a caller asked of the scanner, read as the real client reads it (clamdscan(1), with
// getopt_long(3)'s abbreviations and clusters). Not by getopt_long(3) itself, which would complain
// of what only that client knows: such words, --help and --version among them, are handed on to it.
struct CommandLine {
  // All options but --move, spelled out, for the real client.
  std::vector<std::string> options;
  std::vector<std::string> paths;
  std::optional<std::string> fileList;
  std::optional<std::string> moveFolder;
  bool infectedOnly = false;
  bool quiet = false;
  bool noSummary = false;
  bool toStdout = false;
  bool multiscan = false;
  std::optional<std::string> configuration;
  bool streams = false;  // --stream was given
  // Something is asked that this program does not do: the real client takes over.
  bool foreign = false;
  // ... with the words as they are, for it has to complain about them.
  bool incomplete = false;

  // Any thread; never fails.
  static CommandLine parse(const std::vector<std::string>& words);
};

}  // namespace quillo::wrapper
