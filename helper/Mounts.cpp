#include "helper/Mounts.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "helper/Failure.h"

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
