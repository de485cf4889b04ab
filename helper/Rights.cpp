#include "helper/Rights.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "helper/Failure.h"
#include "posix/FileFacts.h"

namespace quillo::helper {
namespace {

// Where the kernel put the strings of the environment: fields 50 and 51 of /proc/PID/stat
// (proc(5)).
std::pair<char*, char*> environmentStrings() {
  const std::string text = contentsOfFile("/proc/self/stat").value_or("");
  const char* at = std::strrchr(text.c_str(), ')');
  // The parenthesis ends the second field.
  for (int field = 2; field < 50 && at; ++field) at = std::strchr(at + 1, ' ');
  if (!at) return {};
  char* next = nullptr;
  const auto begin = std::strtoull(at, &next, 10);
  const auto end = std::strtoull(next, nullptr, 10);
  return {reinterpret_cast<char*>(begin), reinterpret_cast<char*>(end)};
}

// clearenv() only forgets the strings: /proc/PID/environ would go on showing them, and also those
// that the dynamic linker took out of the list before.
void wipeEnvironment() {
  clearenv();
  const auto [begin, end] = environmentStrings();
  if (!begin || end < begin) throw systemFailure("finding the environment");
  explicit_bzero(begin, static_cast<size_t>(end - begin));
}

void resetDescriptors() {
  if (syscall(SYS_close_range, 3U, ~0U, 0U) < 0) throw systemFailure("closing descriptors");
  for (int fd = 0; fd <= 2; ++fd) {
    if (fcntl(fd, F_GETFD) >= 0) continue;
    // The lowest free number is fd itself, as all smaller ones are open by now.
    if (open("/dev/null", O_RDWR) != fd) throw systemFailure("opening /dev/null");
  }
}

void resetSignals() {
  for (int number = 1; number < NSIG; ++number) signal(number, SIG_DFL);
  // A reader that went away shows as EPIPE.
  signal(SIGPIPE, SIG_IGN);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  const itimerval off{};
  for (const int timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
    setitimer(static_cast<__itimer_which>(timer), &off, nullptr);
  }
}

void resetLimits() {
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  // Enough for a whole read of events that bring descriptors; only root may raise the hard limit.
  const rlimit files{1024, 1024};
  if (geteuid() == 0) setrlimit(RLIMIT_NOFILE, &files);
}

std::uint64_t permitted = 0;
std::uint64_t resting = 0;

std::uint64_t bit(int capability) { return std::uint64_t{1} << capability; }

bool setCapabilities(std::uint64_t effective) {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, 2> data{};
  for (unsigned half = 0; half < 2; ++half) {
    data[half].effective = static_cast<std::uint32_t>(effective >> (32 * half));
    data[half].permitted = static_cast<std::uint32_t>(permitted >> (32 * half));
  }
  return syscall(SYS_capset, &header, data.data()) == 0;
}

void emptyBoundingSet() {
  for (int capability = 0; prctl(PR_CAPBSET_READ, capability, 0, 0, 0) >= 0; ++capability) {
    if (prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) < 0) {
      throw systemFailure("emptying the capability bounding set");
    }
  }
  prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
}

void takeCallersIds() {
  const uid_t user = getuid();
  const gid_t group = getgid();
  if (prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0) < 0) throw systemFailure("keeping capabilities");
  if (setresgid(group, group, group) < 0) throw systemFailure("taking the caller's group");
  if (setresuid(user, user, user) < 0) throw systemFailure("taking the caller's user id");
  prctl(PR_SET_KEEPCAPS, 0, 0, 0, 0);
}

}  // namespace

void shedInheritance() {
  // In this order, as the caller can have left no room for one more descriptor.
  resetLimits();
  resetDescriptors();
  wipeEnvironment();
  resetSignals();
  umask(077);
  if (chdir("/") < 0) throw systemFailure("changing to /");
}

void requireRoot() {
  if (geteuid() == 0) return;
  struct stat self {};
  const bool marked =
      stat("/proc/self/exe", &self) == 0 && self.st_uid == 0 && (self.st_mode & S_ISUID) != 0;
  if (!marked) throw LacksRights("not set-user-ID root");
  if (prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1) {
    throw LacksRights("set-user-ID root, but the caller has no_new_privs set");
  }
  struct statvfs place {};
  if (statvfs("/proc/self/exe", &place) == 0 && (place.f_flag & ST_NOSUID) != 0) {
    throw LacksRights("set-user-ID root, but on a file system that is mounted nosuid");
  }
  throw LacksRights(
      "set-user-ID root, but the kernel did not grant it (traced, or user namespace)");
}

void becomeCallerKeeping(std::initializer_list<int> capabilities) {
  permitted = 0;
  for (const int capability : capabilities) permitted |= bit(capability);
  emptyBoundingSet();
  takeCallersIds();
  // Root without capabilities is just another user; but what root asks for, root may see.
  resting = getuid() == 0 ? permitted & bit(CAP_DAC_READ_SEARCH) : 0;
  if (!setCapabilities(resting)) throw systemFailure("dropping capabilities");
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) < 0) throw systemFailure("setting no_new_privs");
  // Last, as a change of user resets it. It also keeps the caller from tracing this process.
  if (prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) < 0) throw systemFailure("becoming undumpable");
}

void giveUp(int capability) {
  permitted &= ~bit(capability);
  resting &= permitted;
  if (!setCapabilities(resting)) throw systemFailure("giving up a capability");
}

Raised::Raised(std::initializer_list<int> capabilities) {
  std::uint64_t effective = resting;
  for (const int capability : capabilities) effective |= bit(capability) & permitted;
  setCapabilities(effective);
}

Raised::~Raised() {
  // Going on with raised rights would report to the caller what the caller may not see.
  if (!setCapabilities(resting)) _exit(failed);
}

}  // namespace quillo::helper
