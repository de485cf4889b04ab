#pragma once

#include <cstdint>
#include <string>

namespace quillo {

// The virus definitions as they lie on the disk.
struct DefinitionPlace {
  // Who keeps them: this user, with the engine's own updater; the machine, for everybody; unknown
  // where no configuration says where they lie.
  enum class Keeper { user, machine, unknown };

  Keeper keeper = Keeper::unknown;
  std::string folder;      // bytes
  std::int64_t built = 0;  // seconds since 1970; 0 where only the built-in one is there, or none
};

// Returns what lies in a folder of definitions. Reads the beginnings of its files. Any thread.
DefinitionPlace definitionPlaceAt(const std::string& folder);
// Returns that of the engine whose folder this is, by its configuration of the daemon.
DefinitionPlace definitionPlaceOf(const std::string& engine);
// Returns when the definitions that this engine's daemon has loaded were built, in seconds since
// 1970: as it says itself or, where it does not, as they lie on the disk; 0 for none. Waits for its
// answer, some seconds at most. Any thread.
std::int64_t definitionsLoadedBy(const std::string& engine);
// Returns true when this engine's daemon answers, and has loaded none but the built-in definition:
// what it calls clean may be anything. Waits for its answer, some seconds at most. Any thread.
bool lacksDefinitions(const std::string& engine);

}  // namespace quillo
