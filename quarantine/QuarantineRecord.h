#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "posix/FileIdentity.h"

namespace quillo {

// What is known of one file in the quarantine: where it came from, why, and what it was like.
//
// As text it is a line "vantrel-quarantine 1", a line "state " and nine characters, which are
// exchanged in place, then lines of a word, a space and a value, and a line "end" without which it
// is not whole. Names are spelled as reportedText() does, times are nanoseconds since 1970. Words
// that are not known are passed over.
struct QuarantineRecord {
  using Time = std::chrono::system_clock::time_point;
  enum class State {
    moving,    // about to be moved here: it is where it was unless it lies here
    moved,     // lies here
    restoring  // about to leave for `target`
  };
  // What the engine said of it when it was scanned again.
  enum class Check { never, clean, infected, notScanned };

  State state = State::moving;
  std::string name;    // in the quarantine folder
  std::string origin;  // the path that it had; "" when nobody knows
  std::string threat;
  Time moved{};
  Time foundWith{};       // the newest definitions that are known to find it, when they were built
  FileIdentity identity;  // as it lies in the quarantine; the device is not kept
  std::string hash;       // of its contents, SHA-256; "" when they could not be read
  mode_t mode = 0600;     // with its special bits, as they were
  uid_t owner = 0;        // whose it was
  std::int64_t accessed = 0;   // nanoseconds, as all times of files
  std::int64_t changed = 0;    // its contents, by the time that it bore
  Check check = Check::never;  // the last one
  Time checkedWith{};          // when the definitions were built that were used for that
  std::string target;          // while it is restored: the path it is to have
  FileIdentity restored;       // ... and what lies there then

  // Returns when definitions have to be built at the least to know better than those that found it:
  // after these; where nobody knows them, after the move.
  Time foundBy() const { return foundWith == Time() ? moved : foundWith; }
  // Returns true when such definitions found nothing in it.
  bool isCleanByNow() const { return check == Check::clean && checkedWith > foundBy(); }
  // Returns true when that is the file it speaks of, unchanged.
  bool isOf(const FileIdentity& file) const;
  std::string text() const;
  // Returns nothing for anything but a whole, well-formed record. Pure; any thread.
  static std::optional<QuarantineRecord> parse(std::string_view text);
};

// Returns true when both are one file with the same contents. Its device does not count: numbers of
// file systems change between two starts of a machine.
bool isSameInFolder(const FileIdentity& a, const FileIdentity& b);

// Where the nine characters of the state stand in a record's text, and what they are.
inline constexpr std::size_t recordStatePlace = 27;
std::string_view recordStateText(QuarantineRecord::State state);
// More than any record takes.
inline constexpr std::size_t longestRecord = 256UL * 1024;

}  // namespace quillo
