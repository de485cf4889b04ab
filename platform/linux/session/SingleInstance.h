#pragma once

#include <string>
#include <vector>

#include "platform/linux/services/Environment.h"
#include "posix/UniqueFd.h"

namespace quillo {

// One agent a user, also without a bus: a lock (flock(2)) on a file in a folder that only the user
// can write. The lock goes with the process, however that ends, and no child inherits it.
class SingleInstance {
 public:
  // Takes the lock in the first of `folders` that is fit for it, else in `fallback`, which is made
  // if need be. A folder that is a symbolic link, another user's, or writable for others is not
  // fit.
  SingleInstance(const std::vector<std::string>& folders, const std::string& fallback);
  // Takes the lock in the user's runtime folder, else in /tmp.
  explicit SingleInstance(const Environment& environment);

  // Returns false when another process holds the lock. Where no folder was fit it is true, and
  // problem() says why.
  bool isFirst() const { return isFirst_; }
  const std::string& problem() const { return problem_; }

 private:
  bool lockIn(const std::string& folder);
  bool lockFileIn(const std::string& folder);

  UniqueFd folder_;
  UniqueFd file_;
  bool isFirst_ = true;
  std::string problem_;
};

}  // namespace quillo
