#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "posix/UniqueFd.h"

namespace quillo::tests {

// Reads the lines of a log as they come, also of one that was rotated or deleted and that its
// writer still has. One thread.
class LogTail {
 public:
  explicit LogTail(std::string path) : path_(std::move(path)) {}

  // Gives each whole line that has come since the last call, without its time.
  void read(const std::function<void(const std::string& line)>& take);

 private:
  struct File {
    UniqueFd descriptor;
    ino_t number = 0;
    std::string begun;  // a line that is not whole yet
  };

  void openNewest();

  const std::string path_;
  std::vector<File> files_;
};

}  // namespace quillo::tests
