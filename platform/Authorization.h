#pragma once

#include <string>
#include <vector>

namespace quillo {

// Administrator rights, after asking the user.
class Authorization {
 public:
  virtual ~Authorization() = default;
  // Runs the program with those arguments as administrator and waits for it. Returns false when the
  // user refused, may not, or the program failed, and sets `reason` to which of these, in words for
  // people. Never on the main thread.
  virtual bool executeWithPrivileges(const std::string& program,
                                     const std::vector<std::string>& arguments,
                                     std::string& reason) = 0;
};

}  // namespace quillo
