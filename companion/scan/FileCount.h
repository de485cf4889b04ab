#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "posix/Mutex.h"

namespace quillo {

// Counts beforehand what a scan of files and folders will look at, so that it can be said how much
// of it is done. Goes through folders as the scanner does: into other file systems, through no
// link. Any thread.
class FileCount {
 public:
  struct Sum {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    bool isWhole = false;  // nothing is left to be counted
  };
  // More than that many are not counted: what is done of them cannot be said then.
  static constexpr std::uint64_t most = 5'000'000;

  // Counts all that lies there, to the end or until stop(). Takes long.
  void count(const std::vector<std::string>& paths);
  void stop();
  // Returns what has been counted so far.
  Sum sum();

 private:
  void add(const std::string& path, std::vector<std::string>& folders);
  void addFolder(const std::string& folder, std::vector<std::string>& folders);
  bool mayGoOn();
  void addFile(std::uint64_t bytes);

  Mutex lock_;
  Sum sum_ QUILLO_GUARDED_BY(lock_);
  bool isStopped_ QUILLO_GUARDED_BY(lock_) = false;
};

}  // namespace quillo
