#include "helper/EventLoop.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <stdexcept>
#include <utility>

#include "helper/Events.h"
#include "helper/Failure.h"

namespace quillo::helper {
namespace {

constexpr size_t bufferSize = 256UL * 1024;
// Each of these events brings an open descriptor.
constexpr size_t plainBufferSize = 256UL * 24;
// Between two looks at the other things to wait for.
constexpr int mostReads = 64;
// Between two marks while what happens is nobody's to be told of.
constexpr std::int64_t secondsBetweenMarks = 60;

std::int64_t seconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec;
}

// The kernel merges what happens to one file as long as the event is not read.
void letEventsMerge() {
  const timespec pause{0, 8'000'000};
  nanosleep(&pause, nullptr);
}

struct PlainFile {
  const Folder* folder = nullptr;
  std::string name;
};

}  // namespace

EventLoop::EventLoop(const Groups& groups, const Parent& parent, OwnLog log, int marker)
    : groups_(groups),
      parent_(parent),
      self_(getpid()),
      marker_(marker),
      log_(std::move(log)),
      fileSystems_(getuid()),
      resolver_(fileSystems_),
      lines_(STDOUT_FILENO, parent_.end.get(), sight_),
      reporter_(lines_, sight_, log_),
      buffer_(bufferSize) {}

bool EventLoop::isOver(short parent, short output) const {
  if ((output & ~POLLOUT) != 0) throw ReaderGone();
  return parent != 0;
}

void EventLoop::reportAll() {
  readNamed();
  readPlain();
  lines_.flush();
  hasHeard_ = true;
  if (hasLost_) throw EventsLost();
}

bool EventLoop::isMarkDue() const {
  return lines_.hasWritten() || (hasHeard_ && seconds() - markedAt_ >= secondsBetweenMarks);
}

void EventLoop::mark() {
  if (!lines_.mark()) return;
  hasHeard_ = false;
  markedAt_ = seconds();
}

void EventLoop::noteLoss() {
  hasLost_ = true;
  logWarning("the kernel's event queue overflowed: changed files were missed");
}

void EventLoop::run() {
  for (;;) {
    const short room = isMarkDue() ? POLLOUT : 0;
    std::array<pollfd, 6> waiting{
        pollfd{groups_.named.get(), POLLIN, 0}, pollfd{groups_.plain.get(), POLLIN, 0},
        pollfd{fileSystems_.descriptor(), POLLPRI, 0}, pollfd{parent_.end.get(), POLLIN, 0},
        // The reader's end shows in any case.
        pollfd{STDOUT_FILENO, room, 0}, pollfd{marker_, POLLIN, 0}};
    if (poll(waiting.data(), waiting.size(), -1) < 0) {
      if (errno == EINTR) continue;
      throw systemFailure("waiting for events");
    }
    if (isOver(waiting[3].revents, waiting[4].revents)) return;
    if (waiting[2].revents != 0) resolver_.forget();
    if (waiting[5].revents != 0) {
      // What was marked so far is reported before the program is started anew.
      reportAll();
      throw std::runtime_error("the marking process has ended");
    }
    if (waiting[0].revents == 0 && waiting[1].revents == 0) {
      // Both queues were empty at the moment at which there was room.
      if (waiting[4].revents != 0) mark();
      continue;
    }
    letEventsMerge();
    reportAll();
  }
}

// What the agent writes is not news to it; nor is what this process writes, if standard output is a
// file.
bool EventLoop::isOwn(pid_t process) const {
  return (parent_.isCallers && process == parent_.id) || process == self_;
}

std::string_view EventLoop::readFrom(const UniqueFd& group, size_t most) {
  const ssize_t got = read(group.get(), buffer_.data(), most);
  // Any other failure concerns one event that could not be delivered; the next read goes on.
  if (got < 0 && (errno == EBADF || errno == EFAULT || errno == EINVAL)) {
    throw systemFailure("reading file events");
  }
  return std::string_view(buffer_.data(), got > 0 ? static_cast<size_t>(got) : 0);
}

void EventLoop::readNamed() {
  for (int reads = 0; reads < mostReads; ++reads) {
    const std::string_view buffer = readFrom(groups_.named, bufferSize);
    if (buffer.empty()) return;
    reportNamed(buffer);
  }
}

void EventLoop::readPlain() {
  for (int reads = 0; reads < mostReads; ++reads) {
    const std::string_view buffer = readFrom(groups_.plain, plainBufferSize);
    if (buffer.empty()) return;
    reportPlain(buffer);
  }
}

void EventLoop::reportNamed(std::string_view buffer) {
  const EventBatch<NamedEvent> batch = parseNamedEvents(buffer);
  if (batch.overflowed) noteLoss();
  log_.refresh();
  std::vector<std::pair<const Folder*, const NamedEvent*>> found;
  for (const NamedEvent& event : batch.events) {
    if (event.isFolder) resolver_.noteMove();
    if (isOwn(event.process)) continue;
    const Folder& folder = resolver_.find(event.folder);
    if (!folder.places.empty()) found.emplace_back(&folder, &event);
  }
  // Reporting can block for long; no file system must be busy meanwhile.
  resolver_.letGo();
  for (const auto& [folder, event] : found) {
    if (event->isFolder) {
      reporter_.reportFilesBelow(*folder, event->name);
    } else {
      reporter_.reportFile(*folder, event->name);
    }
  }
  resolver_.endRound();
}

void EventLoop::reportPlain(std::string_view buffer) {
  EventBatch<PlainEvent> batch = parsePlainEvents(buffer);
  if (batch.overflowed) noteLoss();
  log_.refresh();
  std::vector<PlainFile> found;
  for (PlainEvent& event : batch.events) {
    const UniqueFd file = std::move(event.file);
    struct stat info {};
    const auto path = pathOfDescriptor(file.get());
    if (isOwn(event.process) || !path) continue;
    // The path is the writer's, who may see other mounts: it counts only if it leads here too.
    if (fstat(file.get(), &info) < 0 || identify(*path) != Identity(info)) continue;
    const size_t slash = path->rfind('/');
    const Folder& folder = resolver_.findPath(path->substr(0, slash == 0 ? 1 : slash));
    if (!folder.places.empty()) found.push_back({&folder, path->substr(slash + 1)});
  }
  for (const PlainFile& file : found) reporter_.reportFile(*file.folder, file.name);
  resolver_.endRound();
}

}  // namespace quillo::helper
