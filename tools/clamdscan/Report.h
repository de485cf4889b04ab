#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillo::front {

// `text` as one line of valid UTF-8: other bytes and control characters are shown as \xNN.
std::string printable(std::string_view text);

// The report as the reader gets it. Lines are gathered and written whole, as many as fit into 4096
// bytes with one write(2), which is atomic on a pipe (pipe(7)): nobody ever reads half a line. No
// text but that given to infected() makes a line that ends in " FOUND". One thread.
class Report {
 public:
  struct Style {
    int output = 1;
    int errors = 2;             // where what is no verdict goes
    bool infectedOnly = false;  // no lines for clean files
    bool quiet = false;         // errors only
  };
  explicit Report(const Style& style) : style_(style) {}

  void clean(std::string_view path);
  void infected(std::string_view path, std::string_view threat);
  // Counted as an error.
  void notScanned(std::string_view path, std::string_view reason);
  void error(std::string_view line);
  // Says more about what has been counted already, or nothing that counts.
  void remark(std::string_view line);
  // A line of the closing summary.
  void summary(std::string_view line);
  // Writes what has been gathered. A reader that is gone ends the program by SIGPIPE.
  void flush();

  std::uint64_t infections() const { return infections_; }
  std::uint64_t failures() const { return failures_; }
  std::uint64_t leftOut() const { return leftOut_; }
  // 1 when anything was found, else 2 after an error or for anything not scanned, else 0.
  int exitStatus() const;

 private:
  void add(int descriptor, std::string line);

  Style style_;
  int target_ = -1;
  std::string gathered_;
  std::uint64_t infections_ = 0;
  std::uint64_t failures_ = 0;
  std::uint64_t leftOut_ = 0;
};

}  // namespace quillo::front
