#pragma once

#include <sys/types.h>

#include <string>

#include "posix/UniqueFd.h"

namespace quillo::tests {

// A process of another user's that listens at a path, in place of what lay there, and keeps quiet
// about whoever comes. Ends with the object.
class StrangersListener {
 public:
  explicit StrangersListener(const std::string& path, uid_t stranger = 61235);
  ~StrangersListener();
  StrangersListener(const StrangersListener&) = delete;
  StrangersListener& operator=(const StrangersListener&) = delete;

  // Returns true once anything was sent to it.
  bool gotAnything() const;

 private:
  UniqueFd lifeline_;
  UniqueFd told_;
  pid_t process_ = -1;
};

}  // namespace quillo::tests
