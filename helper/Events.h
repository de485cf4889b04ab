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

// Takes apart what read(2) gave (fanotify(7)). Events of folders are kept only if they were moved;
// whatever is malformed ends the batch.
EventBatch<NamedEvent> parseNamedEvents(std::string_view buffer);
EventBatch<PlainEvent> parsePlainEvents(std::string_view buffer);

}  // namespace quillo::helper
