#pragma once

#include <string>
#include <vector>

namespace quillo {

// Administrator rights, after asking the user.
class Authorization {
 public:
  virtual ~Authorization() = default;
  // Runs the program with those arguments as administrator and waits for it. False when the user
  // refused, was not allowed to, or the program failed; `reason` then says which in plain words.
  // Not the main thread.
  virtual bool executeWithPrivileges(const std::string& program,
                                     const std::vector<std::string>& arguments,
                                     std::string& reason) = 0;
};

}  // namespace quillo
