#include "helper/Mounts.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "helper/Failure.h"
#include "posix/Text.h"

namespace quillo::helper {
namespace {

using std::string_view;

// What follows `folder` in `path` (nothing, or something that begins with '/').
std::optional<string_view> below(string_view folder, string_view path) {
  if (folder == "/") return path == "/" ? string_view() : path;
  if (path.substr(0, folder.size()) != folder) return std::nullopt;
  const string_view rest = path.substr(folder.size());
  if (!rest.empty() && rest.front() != '/') return std::nullopt;
  return rest;
}

std::string join(string_view folder, string_view rest) {
  if (rest.empty()) return std::string(folder);
  return folder == "/" ? std::string(rest) : std::string(folder).append(rest);
}

}  // namespace

bool isWatchable(const Mount& mount, uid_t caller) {
  if (mount.readOnly || isPseudo(mount) || isNetwork(mount)) return false;
  if (!isFuse(mount)) return true;
  // Every access to it runs its owner's code, which could hold this process up.
  const string_view user = mountOption(mount.superOptions, "user_id").value_or("");
  const auto owner = numberIn<uid_t>(user);
  return owner && (*owner == 0 || *owner == caller);
}

std::optional<std::string> pathInFileSystem(const Mount& mount, string_view path) {
  const auto rest = below(mount.point, path);
  if (!rest) return std::nullopt;
  return join(mount.root, *rest);
}

std::optional<std::string> pathThrough(const Mount& mount, string_view path) {
  const auto rest = below(mount.root, path);
  if (!rest) return std::nullopt;
  return join(mount.point, *rest);
}

OpenMountTable::OpenMountTable() {
  if (descriptor() < 0) throw systemFailure("opening /proc/self/mountinfo");
}

std::vector<Mount> OpenMountTable::read() const {
  auto mounts = MountTable::read();
  if (!mounts) throw systemFailure("reading /proc/self/mountinfo");
  return std::move(*mounts);
}

UniqueFd openMount(const Mount& mount, int flags) {
  UniqueFd fd(open(mount.point.c_str(), flags | O_CLOEXEC | O_NOFOLLOW));
  if (fd && mountOf(fd.get()) != mount.id) fd.reset();
  return fd;
}

int mountOf(int fd) {
  struct statx info {};
  if (statx(fd, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, STATX_MNT_ID, &info) < 0) return -1;
  return (info.stx_mask & STATX_MNT_ID) != 0 ? static_cast<int>(info.stx_mnt_id) : -1;
}

}  // namespace quillo::helper
