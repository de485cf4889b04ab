#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace quillo::tests {

// All of these throw std::system_error, or std::runtime_error, which fails the test.

// Throws unless `result`, of a system call just made, is 0 or more; returns it.
int check(int result, const std::string& what);

// Makes a folder of the given mode whatever the umask.
void makeFolder(const std::string& path, mode_t mode = 0755);
// Makes a file or appends to it.
void writeFile(const std::string& path, std::string_view text = "text");
std::string readFile(const std::string& path);
void moveFile(const std::string& from, const std::string& to);

void mountTmpfs(const std::string& point, const std::string& options = "mode=1777");

// Runs a program to its end, found in PATH; throws unless it exits with 0.
void runProgram(const std::vector<std::string>& arguments);

// A temporary folder that everybody may enter, and whose mounts end with it.
class FolderOfMounts : public TemporaryFolder {
 public:
  FolderOfMounts();
  ~FolderOfMounts();
};

// A file system in a file on a loop device, mounted at `point` as long as this object.
class LoopMount {
 public:
  // `type` is what mkfs.TYPE and mount know; `options` are mount's.
  LoopMount(const std::string& type, const std::string& point, const std::string& options = "rw");
  ~LoopMount();
  LoopMount(const LoopMount&) = delete;
  LoopMount& operator=(const LoopMount&) = delete;
  // The block device, for more mounts of it.
  std::string device() const;

 private:
  std::string point_;
  std::string image_;
};

}  // namespace quillo::tests
