#include "tools/engine-tree/TreeFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "posix/FileFacts.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

[[noreturn]] void refuse(const std::string& path, const std::string& reason) {
  throw PlatformException(PlatformException::Kind::notPermitted, "TreeFailure",
                          path + ": " + reason);
}

[[noreturn]] void fail(const std::string& what, const std::string& path) {
  throw PlatformException::ofSystemCall("TreeFailure", what + " " + path, errno);
}

bool isTrusted(uid_t owner) { return owner == 0 || owner == geteuid(); }

void checkLink(const std::string& path, struct stat& status) {
  if (!isTrusted(status.st_uid)) {
    refuse(path, "is a link of user " + std::to_string(status.st_uid));
  }
  if (stat(path.c_str(), &status) != 0) {
    fail("cannot follow", path);
  }
}

// A folder above the tree: whoever can swap what lies in it can plant a tree of his own. An
// ordinary user has to live with the owner of the folder that his home lies in.
void makeAncestor(const std::string& path) {
  struct stat status = {};
  if (lstat(path.c_str(), &status) != 0 &&
      (errno != ENOENT || mkdir(path.c_str(), 0755) != 0 || lstat(path.c_str(), &status) != 0)) {
    fail("cannot make", path);
  }
  if (S_ISLNK(status.st_mode)) {
    checkLink(path, status);
  }
  if (!S_ISDIR(status.st_mode)) {
    refuse(path, "is not a folder");
  }
  if (geteuid() == 0 && !isTrusted(status.st_uid)) {
    refuse(path, "belongs to user " + std::to_string(status.st_uid) +
                     "; run this program as that user, or name another folder");
  }
  if ((status.st_mode & S_IWOTH) != 0 && (status.st_mode & S_ISVTX) == 0) {
    refuse(path, "may be written by everybody");
  }
}

void makeAncestors(const std::string& path) {
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    makeAncestor(path.substr(0, slash));
  }
}

void checkOwner(int folder, const std::string& path, uid_t owner) {
  struct stat status = {};
  if (fstat(folder, &status) != 0) {
    fail("cannot look at", path);
  }
  if (status.st_uid != owner) {
    refuse(path, "belongs to user " + std::to_string(status.st_uid));
  }
  constexpr mode_t others = S_IWGRP | S_IWOTH;
  if ((status.st_mode & others) != 0 && fchmod(folder, status.st_mode & 07777 & ~others) != 0) {
    fail("cannot take the write permission of others from", path);
  }
}

UniqueFd makeAndOpen(int parent, const std::string& name, const std::string& path) {
  if (mkdirat(parent, name.c_str(), 0755) != 0 && errno != EEXIST) {
    fail("cannot make", path);
  }
  UniqueFd folder(openat(parent, name.c_str(), folderFlags));
  if (!folder) {
    fail("cannot open", path);
  }
  return folder;
}

}  // namespace

TreeFolder TreeFolder::openOrMake(const std::string& path) {
  if (path.empty() || path.front() != '/' || path.find_first_of("\n\r\"") != std::string::npos) {
    refuse(path, "not an absolute path without quotes and line breaks");
  }
  const std::string plain = deletingLastPathComponent(path + "/x");  // without "/" at the end
  makeAncestors(plain);
  UniqueFd folder = makeAndOpen(AT_FDCWD, plain, plain);
  checkOwner(folder.get(), plain, geteuid());
  return TreeFolder(plain, std::move(folder));
}

std::optional<TreeFolder> TreeFolder::open(const std::string& path) {
  UniqueFd folder(::open(path.c_str(), folderFlags));
  if (!folder) {
    return std::nullopt;
  }
  return TreeFolder(path, std::move(folder));
}

TreeFolder TreeFolder::subfolder(const std::string& name) const {
  return subfolderOf(name, geteuid(), getegid());
}

TreeFolder TreeFolder::subfolderOf(const std::string& name, uid_t user, gid_t group) const {
  const std::string path = path_ + "/" + name;
  UniqueFd folder = makeAndOpen(folder_.get(), name, path);
  struct stat status = {};
  if (user != geteuid() && fstat(folder.get(), &status) == 0 && status.st_uid == geteuid() &&
      fchown(folder.get(), user, group) != 0) {
    fail("cannot change the owner of", path);
  }
  checkOwner(folder.get(), path, user);
  return TreeFolder(path, std::move(folder));
}

std::optional<std::string> TreeFolder::read(const std::string& name) const {
  return contentsOfRegularFile(name, Links::refused, std::string::npos, folder_.get());
}

bool TreeFolder::write(const std::string& name, std::string_view content, mode_t mode) const {
  struct stat status = {};
  if (fstatat(folder_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
      S_ISREG(status.st_mode) && (status.st_mode & 07777) == mode && status.st_uid == geteuid() &&
      read(name) == content) {
    return false;
  }
  const std::string path = path_ + "/" + name;
  const std::string fresh = "." + name + ".new";
  // One that a crash left, or a link that somebody planted, is not written through.
  unlinkat(folder_.get(), fresh.c_str(), 0);
  const UniqueFd file(openat(folder_.get(), fresh.c_str(),
                             O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode & 0700));
  if (!file) {
    fail("cannot make", path);
  }
  if (!writeAll(file.get(), content) || fchmod(file.get(), mode) != 0 || fsync(file.get()) != 0 ||
      renameat(folder_.get(), fresh.c_str(), folder_.get(), name.c_str()) != 0) {
    const int reason = errno;
    unlinkat(folder_.get(), fresh.c_str(), 0);
    errno = reason;
    fail("cannot write", path);
  }
  fsync(folder_.get());
  return true;
}

bool TreeFolder::remove(const std::string& name) const {
  if (unlinkat(folder_.get(), name.c_str(), 0) == 0) {
    return true;
  }
  if (errno != ENOENT) {
    fail("cannot remove", path_ + "/" + name);
  }
  return false;
}

UniqueFd TreeFolder::lock(const std::string& name) const {
  UniqueFd file(openat(folder_.get(), name.c_str(),
                       O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600));
  while (!file || fchmod(file.get(), 0600) != 0 || flock(file.get(), LOCK_EX) != 0) {
    if (!file || errno != EINTR) {
      fail("cannot lock", path_ + "/" + name);
    }
  }
  return file;
}

}  // namespace quillo
