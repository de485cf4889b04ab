#include "helper/Rights.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdint>

#include "helper/Failure.h"

namespace quillo::helper {
namespace {

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
  // Going on with raised rights would tell the caller what the caller may not see.
  if (!setCapabilities(resting)) _exit(failed);
}

}  // namespace quillo::helper
