#pragma once

#include <cstdint>

#include "posix/UniqueFd.h"

namespace quillo::helper {

// The two queues of the kernel (fanotify(7)) that events come from.
struct Groups {
  UniqueFd named;  // tells the folder's handle and the name: everything that happens
  UniqueFd plain;  // tells by an open descriptor: only writing, for file systems without handles
};

// What to be told of. Without CREATE hard links and O_TMPFILE would be missed, without MODIFY files
// that are kept open.
extern const std::uint64_t namedMask;
extern const std::uint64_t plainMask;

// Makes both, non-blocking and of unlimited length. To be called as the caller, whose share of the
// machine's groups (fanotify(7), max_user_groups) they count against, with CAP_SYS_ADMIN permitted.
// Throws std::system_error.
Groups openGroups();

}  // namespace quillo::helper
