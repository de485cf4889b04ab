#include "helper/Groups.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/fanotify.h>

#include "helper/Failure.h"
#include "helper/Rights.h"

namespace quillo::helper {

const std::uint64_t namedMask =
    FAN_CREATE | FAN_CLOSE_WRITE | FAN_MODIFY | FAN_MOVED_TO | FAN_ONDIR;
const std::uint64_t plainMask = FAN_CLOSE_WRITE | FAN_MODIFY;

Groups openGroups() {
  constexpr unsigned common =
      FAN_CLASS_NOTIF | FAN_CLOEXEC | FAN_NONBLOCK | FAN_UNLIMITED_QUEUE | FAN_UNLIMITED_MARKS;
  constexpr unsigned access = O_RDONLY | O_LARGEFILE | O_CLOEXEC | O_NONBLOCK;
  Groups groups;
  const Raised raised({CAP_SYS_ADMIN});
  groups.named.reset(fanotify_init(common | FAN_REPORT_DFID_NAME, access));
  if (!groups.named) throw systemFailure("asking for file events with names");
  groups.plain.reset(fanotify_init(common, access));
  if (!groups.plain) throw systemFailure("asking for file events with descriptors");
  return groups;
}

}  // namespace quillo::helper
