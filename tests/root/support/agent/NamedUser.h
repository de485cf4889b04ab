#pragma once

#include <string>

namespace quillo::tests {

// Gives the user of GuardedHome a name (passwd(5)) as long as this object: a session bus wants to
// know it.
class NamedUser {
 public:
  explicit NamedUser(const std::string& name = "guarded", const std::string& home = "/tmp");
  ~NamedUser();
  NamedUser(const NamedUser&) = delete;
  NamedUser& operator=(const NamedUser&) = delete;
};

}  // namespace quillo::tests
