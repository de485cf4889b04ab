#include "helper/MountTable.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "helper/Failure.h"

namespace quillo::helper {
namespace {

using std::string_view;

constexpr auto pseudoTypes = std::to_array<string_view>({"autofs",     "binfmt_misc",
                                                         "bpf",        "cgroup",
                                                         "cgroup2",    "configfs",
                                                         "debugfs",    "devpts",
                                                         "devtmpfs",   "efivarfs",
                                                         "fusectl",    "hugetlbfs",
                                                         "mqueue",     "nsfs",
                                                         "pipefs",     "proc",
                                                         "pstore",     "resctrl",
                                                         "rpc_pipefs", "securityfs",
                                                         "selinuxfs",  "smackfs",
                                                         "sockfs",     "sysfs",
                                                         "tracefs",    "fuse.gvfsd-fuse",
                                                         "fuse.lxcfs", "fuse.portal"});

constexpr auto networkTypes = std::to_array<string_view>({"9p",
                                                          "afs",
                                                          "beegfs",
                                                          "ceph",
                                                          "cifs",
                                                          "coda",
                                                          "lustre",
                                                          "ncpfs",
                                                          "nfs",
                                                          "nfs4",
                                                          "orangefs",
                                                          "prl_fs",
                                                          "pvfs2",
                                                          "smb3",
                                                          "smbfs",
                                                          "vboxsf",
                                                          "virtiofs",
                                                          "fuse.ceph",
                                                          "fuse.ceph-fuse",
                                                          "fuse.curlftpfs",
                                                          "fuse.davfs",
                                                          "fuse.davfs2",
                                                          "fuse.gcsfuse",
                                                          "fuse.glusterfs",
                                                          "fuse.goofys",
                                                          "fuse.juicefs",
                                                          "fuse.rclone",
                                                          "fuse.s3fs",
                                                          "fuse.smbnetfs",
                                                          "fuse.sshfs",
                                                          "fuse.vmhgfs-fuse"});

string_view nextField(string_view& rest, char separator = ' ') {
  const size_t end = rest.find(separator);
  const string_view field = rest.substr(0, end);
  rest.remove_prefix(end == string_view::npos ? rest.size() : end + 1);
  return field;
}

bool isOctal(char digit) { return digit >= '0' && digit <= '7'; }

std::string unescape(string_view text) {
  std::string plain;
  for (size_t at = 0; at < text.size(); ++at) {
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

template <typename Number>
bool toNumber(string_view text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

// The value of `key=value` in a comma-separated list; for a lone `key` an empty one.
std::optional<string_view> option(string_view options, string_view key) {
  while (!options.empty()) {
    string_view value = nextField(options, ',');
    if (nextField(value, '=') == key) return value;
  }
  return std::nullopt;
}

std::optional<Mount> parseMount(string_view line) {
  Mount mount;
  unsigned major = 0;
  unsigned minor = 0;
  if (!toNumber(nextField(line), mount.id)) return std::nullopt;
  nextField(line);  // the parent's id
  string_view device = nextField(line);
  if (!toNumber(nextField(device, ':'), major) || !toNumber(device, minor)) return std::nullopt;
  mount.device = makedev(major, minor);
  mount.root = unescape(nextField(line));
  mount.point = unescape(nextField(line));
  mount.readOnly = option(nextField(line), "ro").has_value();
  while (!line.empty() && nextField(line) != "-") {
  }
  mount.type = unescape(nextField(line));
  mount.source = unescape(nextField(line));
  mount.superOptions = unescape(nextField(line));
  if (option(mount.superOptions, "ro")) mount.readOnly = true;
  if (mount.root.empty() || mount.point.empty() || mount.type.empty()) return std::nullopt;
  return mount;
}

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

template <size_t size>
bool contains(const std::array<string_view, size>& list, string_view entry) {
  return std::find(list.begin(), list.end(), entry) != list.end();
}

}  // namespace

std::vector<Mount> parseMountTable(string_view text) {
  std::vector<Mount> mounts;
  while (!text.empty()) {
    if (auto mount = parseMount(nextField(text, '\n'))) mounts.push_back(std::move(*mount));
  }
  return mounts;
}

bool isFuse(const Mount& mount) {
  return mount.type == "fuse" || mount.type == "fuseblk" || mount.type.rfind("fuse.", 0) == 0;
}

bool isWatchable(const Mount& mount, uid_t caller) {
  if (mount.readOnly || contains(pseudoTypes, mount.type) || contains(networkTypes, mount.type)) {
    return false;
  }
  if (!isFuse(mount)) return true;
  // Some name only what they show, a WebDAV share for example.
  if (mount.source.find("://") != std::string::npos) return false;
  // Every access to it runs its owner's code, which could hold this process up.
  uid_t owner = 0;
  return toNumber(option(mount.superOptions, "user_id").value_or(""), owner) &&
         (owner == 0 || owner == caller);
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

MountTableFile::MountTableFile() : file_(open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)) {
  if (!file_) throw systemFailure("opening /proc/self/mountinfo");
}

std::vector<Mount> MountTableFile::read() const {
  std::string text;
  std::array<char, 16384> part{};
  ssize_t got = 0;
  if (lseek(file_.get(), 0, SEEK_SET) < 0) throw systemFailure("rewinding /proc/self/mountinfo");
  while ((got = ::read(file_.get(), part.data(), part.size())) > 0) {
    text.append(part.data(), static_cast<size_t>(got));
  }
  if (got < 0) throw systemFailure("reading /proc/self/mountinfo");
  return parseMountTable(text);
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
