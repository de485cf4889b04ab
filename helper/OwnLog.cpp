#include "helper/OwnLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>

#include "helper/Failure.h"
#include "posix/FileFacts.h"
#include "posix/UniqueFd.h"

namespace quillo::helper {
namespace {

using std::string_view;

constexpr string_view packed = ".bz2";

bool isBzip2(const std::string& path) {
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  std::array<char, 3> magic{};
  return file && read(file.get(), magic.data(), magic.size()) == 3 &&
         std::memcmp(magic.data(), "BZh", 3) == 0;
}

bool hasRealUser(pid_t process, uid_t user) {
  const auto status = contentsOfFile("/proc/" + std::to_string(process) + "/status");
  // The name before it is the process's own choice, but its line breaks are escaped.
  const size_t line = status ? status->find("\nUid:") : std::string::npos;
  return line != std::string::npos && std::strtoul(&(*status)[line + 5], nullptr, 10) == user;
}

}  // namespace

bool isRotationSuffix(string_view suffix) {
  if (suffix.ends_with(packed)) suffix.remove_suffix(packed.size());
  if (suffix.size() < 2 || suffix.size() > 3 || suffix.front() != '.') return false;
  for (const char digit : suffix.substr(1)) {
    if (digit < '0' || digit > '9') return false;
  }
  return true;
}

OwnLog::OwnLog(const Parent& parent) {
  if (!parent.isCallers) return;
  const std::string descriptor = "/proc/" + std::to_string(parent.id) + "/fd/1";
  struct stat info {};
  if (stat(descriptor.c_str(), &info) < 0 || !S_ISREG(info.st_mode)) return;
  const std::string path = targetOfLink(descriptor).value_or("");
  if (path.size() < 2 || path.front() != '/') return;
  path_ = path;
  const size_t slash = path_.rfind('/');
  name_ = path_.substr(slash + 1);
  if (const auto folder = identify(path_.substr(0, slash + 1))) folder_ = *folder;
  log_ = Identity(info);
  descriptor_ = descriptor;
}

void OwnLog::refresh() {
  struct stat info {};
  if (descriptor_.empty() || stat(descriptor_.c_str(), &info) < 0 || !S_ISREG(info.st_mode)) return;
  if (Identity(info) != log_) previous_ = log_;
  log_ = Identity(info);
  isElsewhere_ = info.st_nlink != 1 || identify(path_) != log_;
}

bool OwnLog::isLog(const Folder& folder, const Place& place, string_view name) const {
  if (descriptor_.empty()) return false;
  const bool isBeside = folder.identity == folder_ && name.substr(0, name_.size()) == name_;
  if (!isBeside && !isElsewhere_) return false;
  const std::string path = std::string(place.prefix).append(name);
  const auto identity = identify(path);
  if (!identity) return false;
  return *identity == log_ ||
         (isBeside && isRotatedLog(path, name.substr(name_.size()), *identity));
}

bool OwnLog::isRotatedLog(const std::string& path, string_view suffix,
                          const Identity& identity) const {
  if (!isRotationSuffix(suffix)) return false;
  return identity == previous_ || (suffix.ends_with(packed) && isBzip2(path));
}

Parent findParent() {
  Parent parent;
  parent.id = getppid();
  if (parent.id > 0) {
    parent.end.reset(static_cast<int>(syscall(SYS_pidfd_open, parent.id, 0)));
    parent.isCallers = hasRealUser(parent.id, getuid());
  }
  if (getppid() != parent.id) throw ReaderGone();
  return parent;
}

}  // namespace quillo::helper
