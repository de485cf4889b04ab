#include "helper/Marker.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <sys/fanotify.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <ctime>
#include <map>
#include <stdexcept>

#include "helper/Confinement.h"
#include "helper/Failure.h"
#include "helper/Rights.h"

namespace quillo::helper {
namespace {

std::string pathOf(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

// The whole of a btrfs file system, subvolumes and all, mounted nowhere (fsopen(2)). A mark is
// refused on a subvolume but accepted here, and then covers them all.
UniqueFd openBtrfsTop(const Mount& mount) {
  const Raised raised({CAP_SYS_ADMIN, CAP_DAC_READ_SEARCH});
  const UniqueFd context(fsopen("btrfs", FSOPEN_CLOEXEC));
  if (!context) return UniqueFd();
  const auto configure = [&](unsigned command, const char* key, const char* value) {
    return fsconfig(context.get(), command, key, value, 0) == 0;
  };
  if (!configure(FSCONFIG_SET_STRING, "source", mount.source.c_str()) ||
      !configure(FSCONFIG_SET_STRING, "subvolid", "5") ||
      !configure(FSCONFIG_CMD_CREATE, nullptr, nullptr)) {
    return UniqueFd();
  }
  return UniqueFd(fsmount(context.get(), FSMOUNT_CLOEXEC, 0));
}

UniqueFd openAsReader(const Mount& mount) {
  const Raised raised({CAP_DAC_READ_SEARCH});
  return openMount(mount, O_PATH);
}

void waitALittle() {
  // Mounts come in bursts.
  const timespec pause{0, 2'000'000};
  nanosleep(&pause, nullptr);
}

}  // namespace

bool Marker::mark(const UniqueFd& group, std::uint64_t mask, int fd) {
  const Raised raised({CAP_SYS_ADMIN, CAP_DAC_READ_SEARCH});
  // fanotify_mark() takes no O_PATH descriptor itself.
  return fanotify_mark(group.get(), FAN_MARK_ADD | FAN_MARK_FILESYSTEM, mask, AT_FDCWD,
                       pathOf(fd).c_str()) == 0;
}

bool Marker::seesBtrfs() const {
  const std::vector<Mount> mounts = table_.read();
  return std::any_of(mounts.begin(), mounts.end(),
                     [](const Mount& mount) { return mount.type == "btrfs"; });
}

void Marker::confine() {
  mayOpenBtrfs_ = seesBtrfs();
  confineMarker(mayOpenBtrfs_);
}

bool Marker::markBtrfs(const Mount& mount) {
  // A filter cannot be widened. A new process has one that allows it.
  if (!mayOpenBtrfs_) throw std::runtime_error("the first btrfs subvolume was mounted");
  const UniqueFd top = openBtrfsTop(mount);
  return top && mark(groups_.named, namedMask, top.get());
}

bool Marker::markThrough(const Mount& mount) {
  const UniqueFd fd = openAsReader(mount);
  // Nobody else gets to it either.
  if (!fd) return false;
  // The first kind of mark asks the file system for its id, which FUSE passes on to its owner.
  if (!isFuse(mount) && mark(groups_.named, namedMask, fd.get())) return true;
  if (mount.type == "btrfs" && markBtrfs(mount)) return true;
  if (mark(groups_.plain, plainMask, fd.get())) return true;
  complain(mount, errno);
  return false;
}

bool Marker::markFileSystem(const std::vector<const Mount*>& mounts) {
  for (const Mount* mount : mounts) {
    if (markThrough(*mount)) return true;
  }
  return false;
}

void Marker::complain(const Mount& mount, int error) {
  if (complained_.size() >= 1000) complained_.clear();
  if (!complained_.insert(mount.point + '\0' + mount.type).second) return;
  logWarning("cannot watch " + escaped(mount.point) + " (" + escaped(mount.type) +
             "): " + std::generic_category().message(error));
}

int Marker::markAll() {
  const std::vector<Mount> mounts = table_.read();
  std::map<dev_t, std::vector<const Mount*>> fileSystems;
  for (const Mount& mount : mounts) {
    if (isWatchable(mount, caller_)) fileSystems[mount.device].push_back(&mount);
  }
  int watched = 0;
  for (const auto& [device, places] : fileSystems) watched += markFileSystem(places) ? 1 : 0;
  return watched;
}

void Marker::run(int owner) {
  for (;;) {
    std::array<pollfd, 2> waiting{pollfd{table_.descriptor(), POLLPRI, 0},
                                  pollfd{owner, POLLIN, 0}};
    if (poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) {
      throw systemFailure("waiting for mounts");
    }
    if (waiting[1].revents != 0) return;
    if (waiting[0].revents == 0) continue;
    waitALittle();
    markAll();
  }
}

namespace {

// The agent must see its pipe end with the main process, so this one lets go of it.
void leaveStandardStreams() {
  const UniqueFd null(open("/dev/null", O_RDWR | O_CLOEXEC));
  if (!null) throw systemFailure("opening /dev/null");
  for (int fd = 0; fd <= 2; ++fd) dup2(null.get(), fd);
}

void markUntilEnd(const Groups& groups, UniqueFd started, const UniqueFd& owner) {
  prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
  prctl(PR_SET_NAME, "gfslogger-mark", 0, 0, 0);
  leaveStandardStreams();
  Marker marker(groups, getuid());
  marker.confine();
  if (marker.markAll() == 0) return;
  // The pipe then stays open, as the sign that this process lives.
  if (write(started.get(), "", 1) != 1) return;
  marker.run(owner.get());
}

[[noreturn]] void markerProcess(const Groups& groups, UniqueFd started, const UniqueFd& owner) {
  try {
    markUntilEnd(groups, std::move(started), owner);
  } catch (const std::exception& failure) {
    logWarning(std::string("marking ended: ") + failure.what());
  }
  _exit(failed);
}

}  // namespace

UniqueFd startMarker(const Groups& groups) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) < 0) throw systemFailure("making a pipe");
  UniqueFd reading(ends[0]);
  UniqueFd writing(ends[1]);
  const UniqueFd self(static_cast<int>(syscall(SYS_pidfd_open, getpid(), 0)));
  if (!self) throw systemFailure("opening the own process");
  const pid_t child = fork();
  if (child < 0) throw systemFailure("starting the marking process");
  if (child == 0) {
    reading.reset();
    markerProcess(groups, std::move(writing), self);
  }
  writing.reset();
  char byte = 0;
  ssize_t got = 0;
  do {
    got = read(reading.get(), &byte, 1);
  } while (got < 0 && errno == EINTR);
  if (got != 1) throw std::runtime_error("no file system can be watched; see the system log");
  return reading;
}

}  // namespace quillo::helper
