#pragma once

#include <initializer_list>

namespace quillo::helper {

// Becomes the caller (real user and group, the caller's supplementary groups) for good and keeps
// only the given capabilities (capabilities(7)), in the permitted set; the effective set is left
// empty. No program can be executed with more afterwards, and the process is not dumpable. Needs
// root; throws std::system_error.
void becomeCallerKeeping(std::initializer_list<int> capabilities);

// Makes the permitted capabilities effective as long as it lives. Between such moments every access
// to a file is decided by the caller's own rights. If the caller is root they always are effective.
class Raised {
 public:
  Raised();
  ~Raised();
  Raised(const Raised&) = delete;
  Raised& operator=(const Raised&) = delete;
};

}  // namespace quillo::helper
