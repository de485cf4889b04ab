#pragma once

namespace quillo::tests {

// Gives the user of GuardedHome a name (passwd(5)) as long as this object: a session bus wants to
// know it.
class NamedUser {
 public:
  NamedUser();
  ~NamedUser();
  NamedUser(const NamedUser&) = delete;
  NamedUser& operator=(const NamedUser&) = delete;
};

}  // namespace quillo::tests
