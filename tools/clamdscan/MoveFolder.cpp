#include "tools/clamdscan/MoveFolder.h"

#include <fcntl.h>
#include <grp.h>
#include <limits.h>
#include <stdio.h>
#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "posix/Accounts.h"
#include "posix/OwnFile.h"
#include "posix/Text.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::wrapper {
namespace {

constexpr int mostNames = 1000;
constexpr char replaced[] = "it was replaced after the scan";

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

// Whatever has been read from it before: the daemon shares its place in the file.
int copyBytes(int source, int target) {
  std::array<char, 65536> bytes;
  for (off_t place = 0;;) {
    const ssize_t count = pread(source, bytes.data(), bytes.size(), place);
    if (count == 0) {
      return 0;
    }
    if (count < 0 && errno != EINTR) {
      return errno;
    }
    const std::size_t size = count < 0 ? 0 : static_cast<std::size_t>(count);
    if (!writeAll(target, {bytes.data(), size})) {
      return errno;
    }
    place += static_cast<off_t>(size);
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

// Whether a group holds this user alone, as the group does that many systems make for each user.
bool isPrivateGroup(gid_t group) {
  const Account user = accountNumbered(geteuid());
  std::array<char, 16384> buffer;
  struct group entry = {};
  struct group* known = nullptr;
  if (getgrgid_r(group, &entry, buffer.data(), buffer.size(), &known) != 0 || known == nullptr) {
    return false;
  }
  bool alone = user.group == group && user.name == entry.gr_name;
  for (char** member = entry.gr_mem; alone && *member != nullptr; ++member) {
    alone = user.name == *member;
  }
  return alone;
}

// Why somebody else may get at what is put into this folder; "" when nobody may.
std::string distrustOf(int folder) {
  struct stat status = {};
  if (fstat(folder, &status) != 0) {
    return reasonText(errno);
  }
  if (status.st_uid != geteuid()) {
    return "it belongs to somebody else";
  }
  // With the sticky bit others can add files, but neither take nor replace any.
  const bool sticky = (status.st_mode & S_ISVTX) != 0;
  const bool groupMay = (status.st_mode & S_IWGRP) != 0;
  if (sticky || (status.st_mode & (S_IWGRP | S_IWOTH)) == 0) {
    return "";
  }
  const bool othersMay = (status.st_mode & S_IWOTH) != 0;
  return othersMay || (groupMay && !isPrivateGroup(status.st_gid)) ? "others may write to it" : "";
}

// Takes the right to run it, for everybody, and set-user-ID and set-group-ID with it: 0 or an
// errno.
int makeHarmless(int file) {
  constexpr mode_t dangerous = S_ISUID | S_ISGID | S_IXUSR | S_IXGRP | S_IXOTH;
  struct stat status = {};
  if (fstat(file, &status) != 0) {
    return errno;
  }
  const bool harmless = (status.st_mode & dangerous) == 0;
  return harmless || fchmod(file, status.st_mode & 07777U & ~dangerous) == 0 ? 0 : errno;
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
  std::string distrust = distrustOf(folder_.get());
  if (distrust.empty() && faccessat(folder_.get(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
    distrust = reasonText(errno);
  }
  if (!distrust.empty()) {
    folder_.reset();
    return distrust;
  }
  notes_ = trash_.notesFor(folder_.get());
  return {};
}

// The scanned file, and the name by which it is known.
struct MoveFolder::Source {
  UniqueFd parent;
  std::string name;
  std::string path;
  int file = -1;
  struct stat status = {};

  bool leadsThere(int folder, const std::string& entry) const {
    struct stat now = {};
    return fstatat(folder, entry.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 && sameFile(now, status);
  }
};

// "" or why the scanned file cannot be moved away from there.
std::string MoveFolder::find(Source& source) const {
  struct stat named = {};
  if (!source.parent || fstat(source.file, &source.status) != 0 ||
      fstatat(source.parent.get(), source.name.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0) {
    return reasonText(errno);
  }
  if (!S_ISREG(named.st_mode) || !sameFile(named, source.status)) {
    return replaced;
  }
  struct stat here = {};
  struct stat there = {};
  const bool isThere = fstat(source.parent.get(), &here) == 0 &&
                       fstat(folder_.get(), &there) == 0 && sameFile(here, there);
  return isThere ? "it is in that folder already" : "";
}

MoveFolder::Outcome MoveFolder::move(const std::string& path, int scanned) {
  Source source;
  source.parent = openWithoutLinks(deletingLastPathComponent(path), O_PATH | O_DIRECTORY);
  source.name = lastPathComponent(path);
  source.path = path;
  source.file = scanned;
  Outcome outcome;
  outcome.text = find(source);
  if (!outcome.text.empty()) {
    return outcome;
  }
  const std::size_t longest = notes_ ? DesktopTrash::longestName : NAME_MAX;
  std::string target;
  int error = EEXIST;
  for (int number = 0; error == EEXIST && number < mostNames; ++number) {
    target = numbered(source.name, number, longest);
    error = moveTo(target, source, outcome);
  }
  if (error == 0) {
    outcome.moved = true;
    outcome.text = path_ + "/" + target;
    outcome.otherNames = source.status.st_nlink > 1 ? source.status.st_nlink - 1UL : 0UL;
    const int problem = makeHarmless(scanned);
    outcome.executable = problem == 0 ? "" : reasonText(problem);
    return outcome;
  }
  Outcome failure;
  failure.text = error == EEXIST   ? "its name is taken there, with every number"
                 : error == ESTALE ? replaced
                 : error == ENOTRECOVERABLE
                     ? replaced + (" by a file that is now '" + path_) + "/" + target + "'"
                     : reasonText(error);
  return failure;
}

// The note comes first, as the desktop does it: whoever has made it has the name. A file that is
// infected goes also when there can be no note.
int MoveFolder::moveTo(const std::string& target, const Source& source, Outcome& outcome) {
  if (!notes_) {
    return place(source, target);
  }
  const int problem = DesktopTrash::note(notes_.get(), target, source.path, clock_.wallTime());
  if (problem == EEXIST) {
    return problem;
  }
  const int error = place(source, target);
  if (error != 0 && error != ENOTRECOVERABLE && problem == 0) {
    DesktopTrash::forget(notes_.get(), target);
  }
  outcome.unnoted = problem == 0 ? "" : reasonText(problem);
  return error;
}

// ESTALE when the name came to lead to something else at the last moment.
int MoveFolder::place(const Source& source, const std::string& name) {
  const int error = renameTo(source.parent.get(), source.name, folder_.get(), name);
  if (error == EXDEV) {
    return copy(source, name);
  }
  if (error == 0 && !source.leadsThere(folder_.get(), name)) {
    // What took the scanned file's name goes back, unless that name has been taken once more.
    const bool isBack = renameTo(folder_.get(), name, source.parent.get(), source.name) == 0;
    return isBack ? ESTALE : ENOTRECOVERABLE;
  }
  return error;
}

// Under a name that nobody else knows, so that what is looked at is what is removed.
int MoveFolder::removeScanned(const Source& source) {
  std::array<unsigned char, 12> random;
  if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
    return EIO;
  }
  std::string secret = ".";
  for (const unsigned char byte : random) {
    secret += static_cast<char>('a' + byte % 16);
    secret += static_cast<char>('a' + byte / 16);
  }
  const int parent = source.parent.get();
  if (const int error = renameTo(parent, source.name, parent, secret); error != 0) {
    return error;
  }
  if (!source.leadsThere(parent, secret)) {
    renameTo(parent, secret, parent, source.name);
    return ESTALE;
  }
  return unlinkat(parent, secret.c_str(), 0) == 0 ? 0 : errno;
}

int MoveFolder::copy(const Source& source, const std::string& name) {
  const UniqueFd target(openat(folder_.get(), name.c_str(),
                               O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!target) {
    return errno;
  }
  int error = copyBytes(source.file, target.get());
  if (error == 0 && fsync(target.get()) != 0) {
    error = errno;
  }
  if (error == 0) {
    error = removeScanned(source);
  }
  if (error != 0) {
    unlinkat(folder_.get(), name.c_str(), 0);
  }
  return error;
}

}  // namespace quillo::wrapper
