#include "helper/Events.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/fanotify.h>

#include <cstddef>
#include <cstring>
#include <optional>

#include "helper/Failure.h"
#include "helper/Rights.h"

namespace quillo::helper {
namespace {

using std::string_view;

// Copies the beginning of `from`, which need not be aligned; false if it is too short.
template <typename Record>
bool copyFrom(string_view from, Record& record) {
  if (from.size() < sizeof(record)) return false;
  std::memcpy(&record, from.data(), sizeof(record));
  return true;
}

// Splits the next event off `buffer`: its head, and the records that follow it.
std::optional<fanotify_event_metadata> nextEvent(string_view& buffer, string_view& records) {
  fanotify_event_metadata head;
  if (!copyFrom(buffer, head) || head.vers != FANOTIFY_METADATA_VERSION ||
      head.event_len < sizeof(head) || head.event_len > buffer.size() ||
      head.metadata_len < sizeof(head) || head.metadata_len > head.event_len) {
    return std::nullopt;
  }
  records = buffer.substr(head.metadata_len, head.event_len - head.metadata_len);
  buffer.remove_prefix(head.event_len);
  return head;
}

bool readFolderAndName(string_view record, NamedEvent& event) {
  constexpr size_t idAt = offsetof(fanotify_event_info_fid, fsid);
  constexpr size_t handleAt = idAt + sizeof(fanotify_event_info_fid::fsid);
  struct {
    unsigned bytes;
    int type;
  } handle{};
  static_assert(sizeof(handle) == sizeof(file_handle));
  if (record.size() < handleAt || !copyFrom(record.substr(handleAt), handle)) return false;
  const size_t nameAt = handleAt + sizeof(handle) + handle.bytes;
  if (handle.bytes > MAX_HANDLE_SZ || nameAt >= record.size()) return false;
  event.folder = record.substr(idAt, nameAt - idAt);
  event.name = record.substr(nameAt);
  event.name = event.name.substr(0, event.name.find('\0'));
  return !event.name.empty();
}

bool findFolderAndName(string_view records, NamedEvent& event) {
  fanotify_event_info_header head;
  while (copyFrom(records, head) && head.len >= sizeof(head) && head.len <= records.size()) {
    if (head.info_type == FAN_EVENT_INFO_TYPE_DFID_NAME) {
      return readFolderAndName(records.substr(0, head.len), event);
    }
    records.remove_prefix(head.len);
  }
  return false;
}

}  // namespace

EventBatch<NamedEvent> parseNamedEvents(string_view buffer) {
  EventBatch<NamedEvent> batch;
  string_view records;
  while (const auto head = nextEvent(buffer, records)) {
    if ((head->mask & FAN_Q_OVERFLOW) != 0) batch.overflowed = true;
    NamedEvent event;
    event.process = head->pid;
    event.isFolder = (head->mask & FAN_ONDIR) != 0;
    if (event.isFolder && (head->mask & FAN_MOVED_TO) == 0) continue;
    // "." is the folder itself.
    if (findFolderAndName(records, event) && event.name != ".") batch.events.push_back(event);
  }
  return batch;
}

EventBatch<PlainEvent> parsePlainEvents(string_view buffer) {
  EventBatch<PlainEvent> batch;
  string_view records;
  while (const auto head = nextEvent(buffer, records)) {
    if ((head->mask & FAN_Q_OVERFLOW) != 0) batch.overflowed = true;
    if (head->fd >= 0) batch.events.push_back({head->pid, UniqueFd(head->fd)});
  }
  return batch;
}

const std::uint64_t namedMask =
    FAN_CREATE | FAN_CLOSE_WRITE | FAN_MODIFY | FAN_MOVED_TO | FAN_ONDIR;
const std::uint64_t plainMask = FAN_CLOSE_WRITE | FAN_MODIFY;

Groups openGroups() {
  // An unlimited queue would have a reader that stands still cost the kernel memory without end.
  constexpr unsigned common = FAN_CLASS_NOTIF | FAN_CLOEXEC | FAN_NONBLOCK | FAN_UNLIMITED_MARKS;
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
