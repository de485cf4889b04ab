#pragma once

#include "posix/UniqueFd.h"

namespace quillo::tests {

// The root of this process and of those that it starts has no /tmp as long as this object; all else
// that lies there is in its place. What is kept in /run is still there afterwards.
class RootWithoutTmp {
 public:
  RootWithoutTmp();
  ~RootWithoutTmp();
  RootWithoutTmp(const RootWithoutTmp&) = delete;
  RootWithoutTmp& operator=(const RootWithoutTmp&) = delete;

 private:
  UniqueFd before_;
};

}  // namespace quillo::tests
