#include "benchmarks/storm/BareEvents.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/fanotify.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <stdexcept>
#include <vector>

#include "helper/Events.h"

namespace bench {
namespace {

int openEvents(const std::string& folder) {
  const int events =
      fanotify_init(FAN_CLASS_NOTIF | FAN_CLOEXEC | FAN_NONBLOCK | FAN_UNLIMITED_QUEUE |
                        FAN_UNLIMITED_MARKS | FAN_REPORT_DFID_NAME,
                    O_RDONLY | O_LARGEFILE | O_CLOEXEC);
  if (events < 0 || fanotify_mark(events, FAN_MARK_ADD | FAN_MARK_FILESYSTEM,
                                  quillo::helper::namedMask, AT_FDCWD, folder.c_str()) != 0) {
    throw std::runtime_error("the kernel does not report on " + folder);
  }
  return events;
}

}  // namespace

BareEvents::BareEvents(const std::string& folder)
    : events_(openEvents(folder)),
      end_(eventfd(0, EFD_CLOEXEC)),
      reader_([this] { throwAway(); }) {}

BareEvents::~BareEvents() {
  eventfd_write(end_, 1);
  reader_.join();
  close(end_);
  close(events_);
}

void BareEvents::throwAway() const {
  std::vector<char> buffer(256UL * 1024);
  const timespec untilMerged{0, 8'000'000};
  for (;;) {
    std::array<pollfd, 2> waiting{pollfd{events_, POLLIN, 0}, pollfd{end_, POLLIN, 0}};
    poll(waiting.data(), waiting.size(), -1);
    if (waiting[1].revents != 0) {
      return;
    }
    nanosleep(&untilMerged, nullptr);
    while (read(events_, buffer.data(), buffer.size()) > 0) {
    }
  }
}

}  // namespace bench
