#pragma once

#include <string>

#include "posix/UniqueFd.h"

namespace quillo::tests {

// A network file system whose server has gone silent, as FUSE shows it: mounted at a folder, and
// whoever asks for anything on it waits. They fail, and it goes, with this object.
class HangingMount {
 public:
  explicit HangingMount(std::string point);
  ~HangingMount();
  HangingMount(const HangingMount&) = delete;
  HangingMount& operator=(const HangingMount&) = delete;

 private:
  std::string point_;
  UniqueFd connection_;
};

}  // namespace quillo::tests
