#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "helper/UniqueFd.h"

namespace quillo::helper {

// One line of /proc/PID/mountinfo (proc(5)), its octal escapes undone.
struct Mount {
  int id = 0;
  dev_t device = 0;
  std::string root;   // the folder of the file system that is seen at `point`
  std::string point;  // where, below the root folder of this process
  std::string type;
  std::string source;
  std::string superOptions;
  bool readOnly = false;
};

// The mounts of a table in the order of the text; lines that are none are left out.
std::vector<Mount> parseMountTable(std::string_view text);

// Whether files of that file system lie on this machine and can be changed through this mount by
// somebody whom `caller` is to be told of. Pseudo and network file systems are not, nor is a FUSE
// file system that is some other user's.
bool isWatchable(const Mount& mount, uid_t caller);

// Whether the kernel would ask a process of some user about each access.
bool isFuse(const Mount& mount);

// `path` as seen from the root of the file system, for a path seen through `mount`; nothing if it
// does not lie below the mount point.
std::optional<std::string> pathInFileSystem(const Mount& mount, std::string_view path);

// The opposite: where `path` of the file system is seen through `mount`, if at all.
std::optional<std::string> pathThrough(const Mount& mount, std::string_view path);

// The mount table as the kernel keeps it. Not to be shared by processes: the open file remembers
// which change its owner has been told of.
class MountTableFile {
 public:
  // Throws std::system_error.
  MountTableFile();
  // Readable with POLLPRI after each change.
  int descriptor() const { return file_.get(); }
  // The table as it is now. Throws std::system_error.
  std::vector<Mount> read() const;

 private:
  UniqueFd file_;
};

// Opens the root of `mount` with the flags of open(2); none if it is not reachable, because another
// mount covers it for example. As long as it is open the file system cannot be unmounted, so hold
// it shortly.
UniqueFd openMount(const Mount& mount, int flags);

// The kernel's id of the mount that an open file lies on, or -1.
int mountOf(int fd);

}  // namespace quillo::helper
