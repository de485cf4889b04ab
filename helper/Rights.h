#pragma once

#include <initializer_list>

namespace quillo::helper {

// Undoes what the caller of a set-user-ID program can bring along: wipes the environment, closes
// all descriptors but 0 to 2 (opening missing ones on /dev/null), resets signals, timers, limits,
// umask and the working folder. Must come first. Throws std::system_error.
void shedInheritance();

// Throws LacksRights, whose text says what is missing, unless the program runs as root.
void requireRoot();

// Becomes the caller (real user and group, the caller's supplementary groups) for good and keeps
// only the given capabilities (capabilities(7)), in the permitted set; the effective set is left
// empty. No program can be executed with more afterwards, and the process is not dumpable. Needs
// root; throws std::system_error.
void becomeCallerKeeping(std::initializer_list<int> capabilities);

// Gives up one of these capabilities for good. Throws std::system_error.
void giveUp(int capability);

// Makes the given capabilities effective as long as it lives. Between such moments every access to
// a file is decided by the caller's own rights; but if the caller is root CAP_DAC_READ_SEARCH
// always is effective. Not to be nested.
class Raised {
 public:
  explicit Raised(std::initializer_list<int> capabilities);
  ~Raised();
  Raised(const Raised&) = delete;
  Raised& operator=(const Raised&) = delete;
};

}  // namespace quillo::helper
