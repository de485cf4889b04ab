#pragma once

#include <string>

namespace quillo::tests {

// A small file system at a folder, which it makes; away with this object. Its owner is the user of
// GuardedHome. Works as long as there is room, which a test takes and gives back.
class SmallDisk {
 public:
  // `options` are tmpfs(5)'s: "size=64k", "nr_inodes=20".
  SmallDisk(std::string point, const std::string& options);
  ~SmallDisk();
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  const std::string& path() const { return point_; }
  // Takes all room for bytes, or all files that it may hold.
  void fill() const;
  void useUpFiles() const;
  // Gives back what these took.
  void makeRoom() const;

 private:
  std::string point_;
};

// Takes all room for bytes that is left where `filler` is to lie.
void fillDisk(const std::string& filler);

}  // namespace quillo::tests
