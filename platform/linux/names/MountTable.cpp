#include "platform/linux/names/MountTable.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <set>

#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::array<std::string_view, 31> pseudoTypes = {
    "autofs", "binfmt_misc", "bpf",        "cgroup",     "cgroup2",   "configfs", "debugfs",
    "devpts", "devtmpfs",    "ecryptfs",   "efivarfs",   "erofs",     "fusectl",  "hugetlbfs",
    "mqueue", "nfsd",        "nsfs",       "overlay",    "overlayfs", "proc",     "pstore",
    "ramfs",  "rootfs",      "rpc_pipefs", "securityfs", "selinuxfs", "smackfs",  "squashfs",
    "sysfs",  "tmpfs",       "tracefs"};

// FUSE file systems that show what lies elsewhere already.
constexpr std::array<std::string_view, 6> viewTypes = {"fuse.portal",     "fuse.gvfsd-fuse",
                                                       "fuse.snapfuse",   "fuse.lxcfs",
                                                       "fuse.squashfuse", "fuse.revokefs-fuse"};

constexpr std::array<std::string_view, 12> systemPlaces = {"/boot",
                                                           "/dev",
                                                           "/efi",
                                                           "/etc",
                                                           "/proc",
                                                           "/run",
                                                           "/snap",
                                                           "/sys",
                                                           "/usr",
                                                           "/var/lib/containers",
                                                           "/var/lib/docker",
                                                           "/var/snap"};

constexpr std::array<std::string_view, 4> placesForVolumes = {"/Volumes", "/media", "/run/media",
                                                              "/mnt"};

template <std::size_t count>
bool holds(const std::array<std::string_view, count>& all, std::string_view one) {
  return std::find(all.begin(), all.end(), one) != all.end();
}

bool liesIn(std::string_view path, std::string_view folder) {
  return path.size() > folder.size() && path.substr(0, folder.size()) == folder &&
         path[folder.size()] == '/';
}

template <std::size_t count>
bool liesInAny(std::string_view path, const std::array<std::string_view, count>& folders) {
  return std::any_of(folders.begin(), folders.end(), [&](std::string_view folder) {
    return path == folder || liesIn(path, folder);
  });
}

bool isOctal(char c) { return c >= '0' && c <= '7'; }

std::string unescaped(std::string_view field) {
  std::string out;
  for (std::size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\\' && i + 3 < field.size() && isOctal(field[i + 1]) &&
        isOctal(field[i + 2]) && isOctal(field[i + 3])) {
      out += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                               (field[i + 3] - '0'));
      i += 3;
    } else {
      out += field[i];
    }
  }
  return out;
}

// "ID PARENT MAJOR:MINOR ROOT MOUNTPOINT OPTIONS [OPTIONAL...] - TYPE SOURCE SUPEROPTIONS"
bool parseLine(std::string_view line, Mount& mount) {
  const std::vector<std::string_view> fields = split(line, ' ');
  const auto dash = std::find(fields.begin(), fields.end(), "-");
  if (dash - fields.begin() < 6 || fields.end() - dash < 3) {
    return false;
  }
  if (std::from_chars(fields[0].data(), fields[0].data() + fields[0].size(), mount.id).ec !=
      std::errc()) {
    return false;
  }
  mount.device = fields[2];
  mount.root = unescaped(fields[3]);
  mount.mountPoint = unescaped(fields[4]);
  mount.type = dash[1];
  mount.source = unescaped(dash[2]);
  return true;
}

bool isNetworked(const std::string& type) {
  return type == "nfs" || type == "nfs4" || type == "cifs" || type == "smb3" || type == "9p";
}

// A program that is one file mounts itself while it runs.
bool isProgramImage(const Mount& mount) {
  return mount.type.rfind("fuse.", 0) == 0 &&
         lastPathComponent(mount.mountPoint).substr(0, 7) == ".mount_";
}

bool isPlacedAndTypedAsVolume(const Mount& mount) {
  const bool isPlaceForVolumes = liesInAny(mount.mountPoint, placesForVolumes);
  if (mount.mountPoint == "/" ||
      (liesInAny(mount.mountPoint, systemPlaces) && !isPlaceForVolumes)) {
    return false;
  }
  if (mount.type == "tmpfs") {
    // Nobody mounts one there but to use it as a volume.
    return isPlaceForVolumes;
  }
  return !holds(pseudoTypes, mount.type) && !holds(viewTypes, mount.type) && !isProgramImage(mount);
}

}  // namespace

std::vector<Mount> parseMountTable(std::string_view text) {
  std::vector<Mount> mounts;
  for (const std::string_view line : split(text, '\n')) {
    Mount mount;
    if (parseLine(line, mount)) {
      mounts.push_back(std::move(mount));
    }
  }
  return mounts;
}

std::vector<Mount> volumesAmong(const std::vector<Mount>& mounts) {
  std::vector<Mount> volumes;
  std::set<std::string> seen;
  for (const Mount& mount : mounts) {
    const bool isMountedAlready = !seen.insert(mount.device).second;
    // A Btrfs subvolume is mounted by its path, and so are folders of some network shares.
    const bool isPart = mount.root != "/" && mount.type != "btrfs" && !isNetworked(mount.type);
    const bool isBind = isPart || (isMountedAlready && !isNetworked(mount.type));
    if (!isBind && isPlacedAndTypedAsVolume(mount)) {
      volumes.push_back(mount);
    }
  }
  return volumes;
}

MountTable::MountTable() : file_(open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)) {}

bool MountTable::hasChanged() const {
  pollfd watched = {file_.get(), POLLPRI, 0};
  return poll(&watched, 1, 0) > 0 && (watched.revents & (POLLPRI | POLLERR)) != 0;
}

std::optional<std::vector<Mount>> MountTable::read() const {
  if (lseek(file_.get(), 0, SEEK_SET) != 0) {
    return std::nullopt;
  }
  const std::optional<std::string> text = restOfFile(file_.get());
  return text ? std::optional<std::vector<Mount>>(parseMountTable(*text)) : std::nullopt;
}

}  // namespace quillo
