#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string_view>
#include <vector>

#include "posix/UniqueFd.h"

namespace quillo::helper {

// One event of the named group. The views point into the buffer that was parsed.
struct NamedEvent {
  pid_t process = 0;
  bool isFolder = false;
  // The file system's id and the folder's handle (struct file_handle), as the kernel wrote them.
  std::string_view folder;
  std::string_view name;
};

// One event of the plain group.
struct PlainEvent {
  pid_t process = 0;
  UniqueFd file;
};

template <typename Event>
struct EventBatch {
  std::vector<Event> events;
  bool overflowed = false;  // the kernel dropped some
};

// Return the events in what read(2) returned (fanotify(7)). Events of folders are kept only if they
// were moved; whatever is malformed ends the batch.
EventBatch<NamedEvent> parseNamedEvents(std::string_view buffer);
EventBatch<PlainEvent> parsePlainEvents(std::string_view buffer);

// The two queues of the kernel (fanotify(7)) that events come from.
struct Groups {
  UniqueFd named;  // brings the folder's handle and the name: everything that happens
  UniqueFd plain;  // brings an open descriptor: only writing, for file systems without handles
};

// What the kernel reports. Without CREATE hard links and O_TMPFILE would be missed, without MODIFY
// files that are kept open.
extern const std::uint64_t namedMask;
extern const std::uint64_t plainMask;

// Makes both, non-blocking and as long as the machine allows (fs.fanotify.max_queued_events, beyond
// which the kernel drops events and says so); throws std::system_error. Runs as the caller,
// whose share of the machine's groups (fanotify(7), max_user_groups) they count against, with
// CAP_SYS_ADMIN permitted.
Groups openGroups();

}  // namespace quillo::helper
