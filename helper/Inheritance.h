#pragma once

namespace quillo::helper {

// Undoes what the caller of a set-user-ID program can bring along: wipes the environment, closes
// all descriptors but 0 to 2 (opening missing ones on /dev/null), resets signals, timers, limits,
// umask and the working folder. To be called first. Throws std::system_error.
void shedInheritance();

// Throws LacksRights, whose text says what is missing, unless the program runs as root.
void requireRoot();

}  // namespace quillo::helper
