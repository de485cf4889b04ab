#include "tools/clamdscan/MoveFolder.h"

#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>

#include "posix/Text.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::front {
namespace {

constexpr int mostNames = 1000;

// "name", "name.001", "name.002" ..., kept below the longest name that folders take.
std::string numbered(const std::string& name, int number, std::size_t longest) {
  if (number == 0) {
    return name.substr(0, longest);
  }
  std::array<char, 8> suffix;
  std::snprintf(suffix.data(), suffix.size(), ".%03d", number % mostNames);
  return name.substr(0, longest - 4) + suffix.data();
}

bool sameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

int copyBytes(int source, int target) {
  std::array<char, 65536> bytes;
  for (;;) {
    const ssize_t count = read(source, bytes.data(), bytes.size());
    if (count == 0) {
      return 0;
    }
    if (count < 0 && errno != EINTR) {
      return errno;
    }
    const int error =
        count < 0 ? 0 : writeAll(target, {bytes.data(), static_cast<std::size_t>(count)});
    if (error != 0) {
      return error;
    }
  }
}

// Renames without replacing; file systems that cannot do that in one step do it in two.
int renameTo(int parent, const std::string& from, int folder, const std::string& name) {
  if (renameat2(parent, from.c_str(), folder, name.c_str(), RENAME_NOREPLACE) == 0) {
    return 0;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    return errno;
  }
  struct stat taken = {};
  if (fstatat(folder, name.c_str(), &taken, AT_SYMLINK_NOFOLLOW) == 0) {
    return EEXIST;
  }
  return renameat(parent, from.c_str(), folder, name.c_str()) == 0 ? 0 : errno;
}

}  // namespace

std::string MoveFolder::open(const std::string& path) {
  if (path.empty()) {
    return "no folder is named";
  }
  path_ = path;
  while (path_.size() > 1 && path_.back() == '/') {
    path_.pop_back();
  }
  trash_.linkFrom(path_);
  folder_ = openPath(path_, O_RDONLY | O_DIRECTORY);
  if (!folder_ && errno == ENOENT) {
    if (const int error = makeFolders(path_); error != 0) {
      return reasonText(error);
    }
    folder_ = openPath(path_, O_RDONLY | O_DIRECTORY);
  }
  if (!folder_) {
    return reasonText(errno);
  }
  if (faccessat(folder_.get(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
    const std::string reason = reasonText(errno);
    folder_.reset();
    return reason;
  }
  notes_ = trash_.notesFor(folder_.get());
  return {};
}

MoveFolder::Outcome MoveFolder::move(const std::string& path, const struct stat& scanned) {
  const std::string parentPath = deletingLastPathComponent(path);
  const std::string name(lastPathComponent(path));
  const UniqueFd parent = openWithoutLinks(parentPath, O_PATH | O_DIRECTORY);
  struct stat now = {};
  if (!parent || fstatat(parent.get(), name.c_str(), &now, AT_SYMLINK_NOFOLLOW) != 0) {
    return {false, reasonText(errno), 0, {}};
  }
  if (!S_ISREG(now.st_mode) || !sameFile(now, scanned)) {
    return {false, "it was replaced after the scan", 0, {}};
  }
  struct stat here = {};
  struct stat there = {};
  if (fstat(parent.get(), &here) == 0 && fstat(folder_.get(), &there) == 0 &&
      sameFile(here, there)) {
    return {false, "it is in that folder already", 0, {}};
  }
  const std::size_t longest = notes_ ? DesktopTrash::longestName : NAME_MAX;
  Outcome outcome;
  outcome.otherNames = now.st_nlink > 1 ? now.st_nlink - 1UL : 0UL;
  for (int number = 0; number < mostNames; ++number) {
    const std::string target = numbered(name, number, longest);
    const int error = moveTo(target, parent.get(), path, outcome);
    if (error == 0) {
      outcome.moved = true;
      outcome.text = path_ + "/" + target;
      return outcome;
    }
    if (error != EEXIST) {
      return {false, reasonText(error), 0, {}};
    }
  }
  return {false, "its name is taken there, with every number", 0, {}};
}

// The note comes first, as the desktop does it: whoever has made it has the name. A file that is
// infected goes also when there can be no note.
int MoveFolder::moveTo(const std::string& target, int parent, const std::string& path,
                       Outcome& outcome) {
  const std::string name(lastPathComponent(path));
  if (!notes_) {
    return place(parent, name, target);
  }
  const int problem = DesktopTrash::note(notes_.get(), target, path, clock_.wallTime());
  if (problem == EEXIST) {
    return problem;
  }
  const int error = place(parent, name, target);
  if (error != 0 && problem == 0) {
    DesktopTrash::forget(notes_.get(), target);
  }
  outcome.unnoted = problem == 0 ? "" : reasonText(problem);
  return error;
}

int MoveFolder::place(int parent, const std::string& from, const std::string& name) {
  const int error = renameTo(parent, from, folder_.get(), name);
  return error == EXDEV ? copy(parent, from, name) : error;
}

int MoveFolder::copy(int parent, const std::string& from, const std::string& name) {
  const UniqueFd source(
      openat(parent, from.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!source) {
    return errno;
  }
  const UniqueFd target(openat(folder_.get(), name.c_str(),
                               O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!target) {
    return errno;
  }
  int error = copyBytes(source.get(), target.get());
  if (error == 0 && (fsync(target.get()) != 0 || unlinkat(parent, from.c_str(), 0) != 0)) {
    error = errno;
  }
  if (error != 0) {
    unlinkat(folder_.get(), name.c_str(), 0);
  }
  return error;
}

}  // namespace quillo::front
