#include "tests/faults/support/ProcessFacts.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>

#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

std::string field(pid_t process, const std::string& name) {
  const std::string status = "\n" + readFile("/proc/" + std::to_string(process) + "/status");
  const std::size_t at = status.find("\n" + name + ":");
  if (at == std::string::npos) {
    throw std::runtime_error("no " + name + " in the status of a process");
  }
  return status.substr(status.find_first_not_of(" \t", at + name.size() + 2), 20);
}

}  // namespace

int openDescriptors(pid_t process) {
  using Entries = std::filesystem::directory_iterator;
  return static_cast<int>(
      std::distance(Entries("/proc/" + std::to_string(process) + "/fd"), Entries()));
}

int threadsOf(pid_t process) { return std::stoi(field(process, "Threads")); }

// The scanners come and go meanwhile.
bool hasOpen(pid_t process, const std::string& path) {
  std::error_code gone;
  using Entries = std::filesystem::directory_iterator;
  for (auto entry = Entries("/proc/" + std::to_string(process) + "/fd", gone);
       !gone && entry != Entries(); entry.increment(gone)) {
    if (std::filesystem::read_symlink(entry->path(), gone) == path) {
      return true;
    }
  }
  return false;
}

long tolerated(long kibibytes) {
#if defined(__SANITIZE_ADDRESS__)
  constexpr long kept = 1L << 20;
  return kibibytes + kept;
#else
  return kibibytes;
#endif
}

long peakMemory(pid_t process) { return std::stol(field(process, "VmHWM")); }

std::string stateOf(pid_t process) { return field(process, "State").substr(0, 1); }

namespace {

// Root may lack the right to set limits for others; a process's own user has it.
void limitAsItsUser(pid_t process, __rlimit_resource resource, const rlimit* limit,
                    rlimit* before) {
  struct stat owner = {};
  check(stat(("/proc/" + std::to_string(process)).c_str(), &owner), "looking at a process");
  check(setresgid(owner.st_gid, owner.st_gid, 0), "becoming a group");
  check(setresuid(owner.st_uid, owner.st_uid, 0), "becoming a user");
  const int result = prlimit(process, resource, limit, before);
  const int error = errno;
  check(setresuid(0, 0, 0), "becoming root again");
  check(setresgid(0, 0, 0), "becoming root's group again");
  errno = error;
  check(result, "setting a limit");
}

}  // namespace

Limit::Limit(pid_t process, __rlimit_resource resource, rlim_t most)
    : process_(process), resource_(resource) {
  limitAsItsUser(process_, resource_, nullptr, &before_);
  const rlimit limited = {most, before_.rlim_max};
  limitAsItsUser(process_, resource_, &limited, nullptr);
}

Limit::~Limit() {
  try {
    limitAsItsUser(process_, resource_, &before_, nullptr);
  } catch (const std::exception&) {
    // It has ended.
  }
}

}  // namespace quillo::tests
