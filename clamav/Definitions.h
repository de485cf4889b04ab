#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace quillo {

// The virus definitions in a folder, as clamd and freshclam keep them there: main and daily, each
// as .cvd (downloaded) or .cld (updated in place).
struct DefinitionSet {
  bool main = false;
  bool daily = false;
  // When the newest of them was written; nothing when there is none.
  std::optional<std::chrono::system_clock::time_point> newest;

  bool any() const { return main || daily; }
  bool complete() const { return main && daily; }
};

// Returns what lies in `folder` and can be read by this process. Any thread.
DefinitionSet definitionsIn(const std::string& folder);

// Returns true when the folder holds definitions of any kind other than the built-in one of the
// test file; false when it is missing or cannot be read. Any thread.
bool holdsRealDefinitions(const std::string& folder);

// Returns when the database file was built that begins with these bytes, as a .cvd or .cld has it
// in its header (sigtool(1) --info shows it); nothing for another file. Pure.
std::optional<std::chrono::system_clock::time_point> buildTimeIn(std::string_view header);

// Returns when the definitions in `folder` were built: the newest of main and daily; where there
// are only others, when the newest of these was written; nothing where there is none but the
// built-in one, or the folder cannot be read. Any thread.
std::optional<std::chrono::system_clock::time_point> definitionsBuiltIn(const std::string& folder);

// Definitions that were built longer ago than this find too little of what is new.
inline constexpr std::chrono::hours definitionsOldAfter(14 * 24);

// The file of the built-in definition and its one line, in the extended signature format of
// ClamAV's signature manual (Name:TargetType:Offset:HexSignature): the 68-byte EICAR test file.
inline constexpr char builtInDefinitionFile[] = "vantrel-eicar.ndb";
std::string builtInDefinition();
// The content of the test file itself.
std::string eicarTestFile();

}  // namespace quillo
