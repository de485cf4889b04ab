#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillo {

// One line of the engine's report, understood. Made once, where the report is read, and handed on.
struct Verdict {
  enum class Kind {
    clean,       // "PATH: OK"
    infected,    // "PATH: THREAT FOUND"
    notScanned,  // "PATH: Not scanned: REASON", and the engine's own words for such files
    moved,       // "PATH: moved to 'DESTINATION'"
    notMoved,    // "PATH: not moved: REASON"
    message      // whatever else the engine says
  };
  // What became of an infected file. Only an adapter that says so reports it; `unsaid` otherwise.
  enum class Whereabouts { unsaid, inPlace, moved, notMoved };
  // Which of the engine's limits kept it from being scanned: the file's own size, or what it takes
  // to look at all that is in it. Only an adapter that says so reports it.
  enum class Limit { none, fileSize, contents };
  // Whether a file was not scanned for want of the daemon, which had gone, could not be reached or
  // gave no sign of life: before it had the file, or while it had it. Then the file may be what
  // ended it. A message that says so of the daemon alone is `before`.
  enum class DaemonGone { no, before, meanwhile };

  Kind kind = Kind::message;
  std::string line;  // as it stands in the report
  std::string path;  // its bytes, as the engine was given it; empty for a message
  std::string threat;
  std::string reason;       // why it was not scanned, or not moved
  std::string destination;  // where it was moved to
  // The file itself where `path` leads to it through symbolic links, and which is then the infected
  // one; empty otherwise.
  std::string target;
  Whereabouts whereabouts = Whereabouts::unsaid;
  Limit limit = Limit::none;
  DaemonGone daemonGone = DaemonGone::no;
  // Of an infected file: its user has put it back or allowed it, and it has not changed since.
  // Nothing is done about it. Set by who judges the report; no line says it.
  bool isSpared = false;
  std::uint64_t largestFile = 0;  // of Limit::fileSize: the most bytes that the engine takes

  // Returns the path of the file that the engine looked at.
  const std::string& file() const { return target.empty() ? path : target; }
  // Returns true when the engine calls it a likeness of malware, not a known one.
  bool isHeuristic() const { return threat.rfind("Heuristics.", 0) == 0; }

  // Returns what the line says by itself (clamdscan(1), as measured with 1.4). Only its end
  // decides, for a file's name may hold anything. Pure.
  static Verdict parse(std::string_view line);
};

// Returns any bytes as the report of the tree's own scanner spells them, one line of valid UTF-8:
// other bytes, and those of characters that hide (posix/HiddenText.h), as "\xNN" (two upper-case
// digits), and so a backslash that such a thing follows in the text itself ("\x5C"); all else as it
// stands. Pure; any thread.
std::string reportedText(std::string_view bytes);
// Returns the bytes that such a text stands for. Pure; any thread.
std::string bytesOfReported(std::string_view text);

}  // namespace quillo
