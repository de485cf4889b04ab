#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "clamav/Verdict.h"

namespace quillo {
class VerdictSender;
}

namespace quillo::wrapper {

// The report as the reader gets it, with bytes spelled as reportedText() does. Lines are gathered
// and written whole, as many as fit into 4096 bytes with one write(2), which is atomic on a pipe
// (pipe(7)): nobody ever reads half a line. No text but that given to infected() makes a line that
// ends in " FOUND". What a line cannot carry goes ahead of it through the channel. One thread.
class Report {
 public:
  struct Style {
    int output = 1;
    int errors = 2;                    // where what is no verdict goes
    bool infectedOnly = false;         // no lines for clean files
    bool quiet = false;                // errors only
    VerdictSender* channel = nullptr;  // to who started the program
  };
  explicit Report(const Style& style) : style_(style) {}

  // Adds the line of a clean file. Here and below `target` is the file itself where `path` leads to
  // it through links.
  void clean(std::string_view path, std::string_view target = {});
  // Adds the line of an infected file: `path`, `threat`, `target` and what is known of its
  // whereabouts.
  void infected(const Verdict& verdict);
  // Adds the line of one that is to be moved and waits until the reader has it. Returns false when
  // it will not have it, and the file has to stay. outcome() has to follow.
  bool announce(const Verdict& verdict);
  // Returns true when the reader itself wants it to stay.
  bool moveWasRefused() const;
  // Adds what became of that file: `whereabouts`, and `destination` or `reason`. One that lies in
  // its place as it should counts as no failure.
  void outcome(const Verdict& verdict);
  // Adds it once more, of a file that had been moved before, or could not be.
  void whereabouts(const Verdict& verdict);
  // Adds the line of a file that was not scanned, and counts it as an error.
  void notScanned(std::string_view path, std::string_view reason, std::string_view target = {});
  // Likewise with what else is known: `path`, `reason`, `target` and the limit.
  void notScanned(Verdict verdict);
  void error(std::string_view line);
  // Adds more about what has been counted already, or nothing that counts.
  void remark(std::string_view line);
  // Adds a line of the closing summary.
  void summary(std::string_view line);
  // Writes what has been gathered. A reader that is gone ends the program by SIGPIPE.
  void flush();

  // Returns true when a program reads the report, and not a person.
  bool isForProgram() const { return style_.channel != nullptr; }
  // Returns the channel to it; null for a person.
  VerdictSender* channel() const { return style_.channel; }
  // Counts a file that is clean, whether or not a line says so.
  void pass() { ++passed_; }
  std::uint64_t passed() const { return passed_; }
  std::uint64_t infections() const { return infections_; }
  std::uint64_t failures() const { return failures_; }
  std::uint64_t leftOut() const { return leftOut_; }
  // Returns 1 when anything was found, else 2 after an error or for anything not scanned, else 0.
  int exitStatus() const;

 private:
  void passOn(Verdict verdict, const std::string& line);
  void add(int descriptor, std::string line);

  Style style_;
  int target_ = -1;
  std::string gathered_;
  std::uint64_t passed_ = 0;
  std::uint64_t infections_ = 0;
  std::uint64_t failures_ = 0;
  std::uint64_t leftOut_ = 0;
};

}  // namespace quillo::wrapper
