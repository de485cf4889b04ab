#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillo::front {

// What a caller asked of the scanner, read as the real client reads it (clamdscan(1), with
// getopt_long(3)'s abbreviations and clusters). Options that are not known are handed on.
struct CommandLine {
  std::vector<std::string> handedOn;  // for every run of the real client
  std::vector<std::string> actions;   // --remove, --copy: handed on where the client sees the path
  std::vector<std::string> paths;
  std::optional<std::string> fileList;
  std::optional<std::string> moveFolder;
  bool infectedOnly = false;
  bool quiet = false;
  bool noSummary = false;
  bool toStdout = false;
  bool ownConfiguration = false;  // --config-file was given
  bool streams = false;           // --stream was given
  // Nothing is to be scanned by path: the real client takes over (--help, --ping, "-" ...).
  bool takesNoPaths = false;

  // Any thread; never fails.
  static CommandLine parse(const std::vector<std::string>& words);
};

}  // namespace quillo::front
