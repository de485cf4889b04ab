#include "posix/MountTable.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <tuple>

#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

using std::string_view;

constexpr string_view networkTypes =
    "9p afs beegfs ceph cifs coda lustre ncpfs nfs nfs4 orangefs prl_fs pvfs2 smb3 smbfs vboxsf "
    "virtiofs fuse.ceph fuse.ceph-fuse fuse.curlftpfs fuse.davfs fuse.davfs2 fuse.gcsfuse "
    "fuse.glusterfs fuse.goofys fuse.juicefs fuse.rclone fuse.s3fs fuse.smbnetfs fuse.sshfs "
    "fuse.vmhgfs-fuse";

constexpr string_view pseudoTypes =
    "autofs binfmt_misc bpf cgroup cgroup2 configfs debugfs devpts devtmpfs efivarfs fusectl "
    "hugetlbfs mqueue nsfs pipefs proc pstore resctrl rpc_pipefs securityfs selinuxfs smackfs "
    "sockfs sysfs tracefs fuse.gvfsd-fuse fuse.lxcfs fuse.portal";

bool isOctal(char digit) { return digit >= '0' && digit <= '7'; }

std::string unescaped(string_view text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\\' && at + 3 < text.size() && isOctal(text[at + 1]) &&
        isOctal(text[at + 2]) && isOctal(text[at + 3])) {
      plain += static_cast<char>((text[at + 1] - '0') * 64 + (text[at + 2] - '0') * 8 +
                                 (text[at + 3] - '0'));
      at += 3;
    } else {
      plain += text[at];
    }
  }
  return plain;
}

std::optional<dev_t> deviceIn(string_view text) {
  const std::vector<string_view> numbers = split(text, ':');
  const auto major = numberIn<unsigned>(numbers.front());
  const auto minor = numberIn<unsigned>(numbers.back());
  return numbers.size() == 2 && major && minor ? std::optional(makedev(*major, *minor))
                                               : std::nullopt;
}

// "ID PARENT MAJOR:MINOR ROOT POINT OPTIONS [OPTIONAL...] - TYPE SOURCE SUPEROPTIONS"
std::optional<Mount> parseMount(string_view line) {
  const std::vector<string_view> fields = split(line, ' ');
  const auto dash = std::find(fields.begin(), fields.end(), "-");
  if (dash - fields.begin() < 6 || fields.end() - dash < 3) {
    return std::nullopt;
  }
  const auto id = numberIn<int>(fields[0]);
  const auto device = deviceIn(fields[2]);
  if (!id || !device) {
    return std::nullopt;
  }
  Mount mount;
  mount.id = *id;
  mount.device = *device;
  mount.root = unescaped(fields[3]);
  mount.point = unescaped(fields[4]);
  mount.type = unescaped(dash[1]);
  mount.source = unescaped(dash[2]);
  mount.superOptions = fields.end() - dash > 3 ? unescaped(dash[3]) : std::string();
  mount.readOnly = mountOption(fields[5], "ro") || mountOption(mount.superOptions, "ro");
  if (mount.root.empty() || mount.point.empty() || mount.type.empty()) {
    return std::nullopt;
  }
  return mount;
}

bool isAmong(string_view types, string_view type) {
  const std::vector<string_view> each = split(types, ' ');
  return std::find(each.begin(), each.end(), type) != each.end();
}

}  // namespace

bool Mount::operator==(const Mount& other) const {
  return std::tie(id, device, root, point, type, source) ==
         std::tie(other.id, other.device, other.root, other.point, other.type, other.source);
}

std::vector<Mount> parseMountTable(string_view text) {
  std::vector<Mount> mounts;
  for (const string_view line : split(text, '\n')) {
    if (auto mount = parseMount(line)) {
      mounts.push_back(std::move(*mount));
    }
  }
  return mounts;
}

std::optional<string_view> mountOption(string_view options, string_view key) {
  for (const string_view option : split(options, ',')) {
    const std::size_t equals = std::min(option.find('='), option.size());
    if (option.substr(0, equals) == key) {
      return option.substr(std::min(equals + 1, option.size()));
    }
  }
  return std::nullopt;
}

bool isNetwork(const Mount& mount) {
  // Some FUSE file systems name only what they show, a WebDAV share for example.
  return isAmong(networkTypes, mount.type) ||
         (isFuse(mount) && mount.source.find("://") != std::string::npos);
}

bool isPseudo(const Mount& mount) { return isAmong(pseudoTypes, mount.type); }

bool isFuse(const Mount& mount) {
  return mount.type == "fuse" || mount.type == "fuseblk" || mount.type.starts_with("fuse.");
}

bool isChangedByOthers(const Mount& mount) {
  // The last two are file systems on a disk that other machines write to as well.
  return isNetwork(mount) || mount.type == "gfs2" || mount.type == "ocfs2";
}

bool isWatchable(const Mount& mount, uid_t user) {
  if (mount.readOnly || isPseudo(mount) || isNetwork(mount)) {
    return false;
  }
  if (!isFuse(mount)) {
    return true;
  }
  // Every access to it runs its owner's code, which could hold this process up.
  const auto owner = numberIn<uid_t>(mountOption(mount.superOptions, "user_id").value_or(""));
  return owner && (*owner == 0 || *owner == user);
}

const Mount* mountHolding(const std::string& path, const std::vector<Mount>& mounts) {
  const Mount* found = nullptr;
  for (const Mount& mount : mounts) {
    if ((path == mount.point || liesBelow(path, mount.point)) &&
        (!found || mount.point.size() >= found->point.size())) {
      found = &mount;
    }
  }
  return found;
}

bool hasFileHandles(const std::string& path) {
  struct file_handle none = {};
  int mount = 0;
  // With no room for a handle the answer is EOVERFLOW where there is one.
  if (name_to_handle_at(AT_FDCWD, path.c_str(), &none, &mount, 0) != 0 && errno == EOPNOTSUPP) {
    return false;
  }
  struct statfs facts = {};
  const fsid_t noId = {};
  return statfs(path.c_str(), &facts) != 0 || std::memcmp(&facts.f_fsid, &noId, sizeof noId) != 0;
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
