#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "posix/MountTable.h"

namespace quillo::helper {

// Returns `path`, seen through `mount`, as seen from the root of the file system; nothing if it
// does not lie below the mount point.
std::optional<std::string> pathInFileSystem(const Mount& mount, std::string_view path);

// Returns where `path` of the file system is seen through `mount`; nothing if it is not.
std::optional<std::string> pathThrough(const Mount& mount, std::string_view path);

// The mount table, without which nothing can be watched. Not to be shared by processes.
class OpenMountTable : private MountTable {
 public:
  // Throws std::system_error.
  OpenMountTable();
  using MountTable::descriptor;
  // Returns the table as it is now. Throws std::system_error.
  std::vector<Mount> read() const;
};

// Opens the root of `mount` with the flags of open(2). Returns none if it is not reachable, because
// another mount covers it for example. As long as it is open the file system cannot be unmounted,
// so hold it shortly.
UniqueFd openMount(const Mount& mount, int flags);

// Returns the kernel's id of the mount that an open file lies on, or -1.
int mountOf(int fd);

}  // namespace quillo::helper
