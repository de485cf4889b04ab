#include "helper/Inheritance.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
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

}  // namespace quillo::helper
