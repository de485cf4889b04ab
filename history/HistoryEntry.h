#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quillo {

using WallTime = std::chrono::system_clock::time_point;

// Who had the files scanned. The numbers stand in the database.
enum class ScanSource { agent = 0, byHand = 1, planned = 2 };

// A find, or a file that could not be scanned. The numbers stand in the database.
struct HistoryResult {
  enum class Kind { found = 0, notScanned = 1 };
  // What was done about a find. `unsaid` where nobody has said it yet, and for other files;
  // `selfTest` where it was the harmless file of a self-test, which removes it again.
  enum class Outcome {
    unsaid = 0,
    leftInPlace = 1,
    quarantined = 2,
    trashed = 3,
    notMoved = 4,
    selfTest = 5
  };

  WallTime time;  // kept in whole seconds
  Kind kind = Kind::found;
  Outcome outcome = Outcome::unsaid;
  ScanSource source = ScanSource::agent;
  std::int64_t run = 0;       // ScanRun::id; 0 without one
  std::string path;           // its bytes; empty for files that are counted and not named
  std::string says;           // the threat's name, or why it was not scanned
  std::string detail;         // where it was moved to, or why it was not
  std::uint64_t unnamed = 0;  // without a path: so many files of that day could not be scanned

  bool operator==(const HistoryResult&) const = default;
};

// What became of a find that was reported before, as an engine says it that moves files by itself.
struct LaterOutcome {
  std::string path;
  HistoryResult::Outcome outcome = HistoryResult::Outcome::unsaid;
  std::string detail;
};

// Files that could not be scanned and are too many to be entered by their names: so many on that
// day up to now. They are one result a day.
struct UnnamedFiles {
  WallTime time;
  std::uint64_t files = 0;
};

// A scan that somebody asked for, or planned.
struct ScanRun {
  // How it ended; the first that is true. The numbers stand in the database.
  enum class End {
    whole = 0,
    stopped = 1,       // by its user, or with his session
    noEngine = 2,      // the engine's scanner could not be run
    noDaemon = 3,      // the engine did not answer
    noQuarantine = 4,  // what is found was to be moved there, and no preference named it
    tooMany = 5,       // more paths than a command line holds
    failed = 6,        // the scanner ended before its work did
    noDefinitions = 7  // the engine had none by which anything real is found
  };

  // Made by makeRunId(), so that nobody has to wait for the database to name it.
  std::int64_t id = 0;
  ScanSource source = ScanSource::byHand;
  WallTime started;
  std::optional<WallTime> ended;           // nothing as long as it goes on, or when it was cut off
  std::vector<std::string> paths;          // what was asked for
  std::optional<std::uint64_t> clean = 0;  // nothing where nobody counted
  std::uint64_t found = 0;
  std::uint64_t notScanned = 0;
  End end = End::whole;

  bool operator==(const ScanRun&) const = default;
};

// Returns a number that no other run bears. Any thread.
std::int64_t makeRunId();

// What is entered for good, in the order in which it came. A run is entered when it begins and
// again when it ends.
using HistoryChange = std::variant<HistoryResult, LaterOutcome, UnnamedFiles, ScanRun>;

// How much was scanned in a folder and those below it on one day.
struct ScannedAmount {
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;

  bool operator==(const ScannedAmount&) const = default;
};

// A day of the local calendar, as the number yyyymmdd; 0 when there is none.
using CalendarDay = std::int32_t;

// Returns the day of that moment. Any thread.
CalendarDay calendarDayOf(WallTime time);

// Returns the folder under which a clean file is counted: its own, but at most three levels below
// `home` or, elsewhere, below the root. So that nobody's file is named and few folders are. Pure.
std::string countedFolderOf(std::string_view path, std::string_view home);

}  // namespace quillo
