#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "posix/UniqueFd.h"

namespace quillo {

// One line of /proc/<pid>/mountinfo (proc(5)), octal escapes undone.
struct Mount {
  int id = 0;
  // The device's numbers, "8:1".
  std::string device;
  // Which folder of the file system is mounted; "/" is all of it.
  std::string root;
  // Without a "/" at its end, but for the root folder.
  std::string mountPoint;
  std::string type;
  std::string source;

  bool operator==(const Mount&) const = default;
};

// Lines that are none are passed over. Pure; any thread.
std::vector<Mount> parseMountTable(std::string_view text);

// The mounts that a user would call a volume: a disk, a stick, a disc, a network share. Pseudo file
// systems, images of packaged programs, bind mounts, portals and the system's own places are none.
std::vector<Mount> volumesAmong(const std::vector<Mount>& mounts);

// The kernel's table, kept open. One thread.
class MountTable {
 public:
  MountTable();

  // To be polled for POLLPRI, which comes once after each change; -1 when there is no table.
  int descriptor() const { return file_.get(); }
  // Whether it has changed since it was opened or this was last asked.
  bool hasChanged() const;
  // Absent when it cannot be read now, which says nothing of what is mounted.
  std::optional<std::vector<Mount>> read() const;

 private:
  UniqueFd file_;
};

}  // namespace quillo
