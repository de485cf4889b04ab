#include "tools/clamdscan/MoveFolder.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <optional>

#include "clamav/Definitions.h"
#include "posix/FileMoving.h"
#include "posix/OwnFile.h"
#include "posix/Text.h"
#include "quarantine/FolderTrust.h"
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

// Why somebody else may get at what is put into this folder; "" when nobody may.
std::string distrustOf(int folder) {
  switch (trustInFolder(folder)) {
    case FolderTrust::somebodyElses:
      return "it belongs to somebody else";
    case FolderTrust::othersMayWrite:
      return "others may write to it";
    case FolderTrust::cannotTell:
      return reasonText(errno);
    default:
      return "";
  }
}

std::int64_t nanoseconds(const timespec& time) { return time.tv_sec * 1000000000LL + time.tv_nsec; }

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
  std::int64_t largest = 0;
  std::optional<QuarantineRecord> record;

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

MoveFolder::Outcome MoveFolder::move(const std::string& path, int scanned, std::string_view threat,
                                     std::uint64_t largest) {
  Source source;
  source.parent = openWithoutLinks(deletingLastPathComponent(path), O_PATH | O_DIRECTORY);
  source.name = lastPathComponent(path);
  source.path = path;
  source.file = scanned;
  source.largest = static_cast<std::int64_t>(std::min(largest, engineCeiling));
  Outcome outcome;
  outcome.text = find(source);
  if (!outcome.text.empty()) {
    return outcome;
  }
  outcome.unrecorded = notes_ ? "" : prepareRecord(source, threat);
  const std::size_t longest = notes_ ? DesktopTrash::longestName : NAME_MAX;
  std::string target;
  int error = EEXIST;
  for (int number = 0; error == EEXIST && number < mostNames; ++number) {
    target = numbered(source.name, number, longest);
    error = notes_ ? moveNoted(target, source, outcome) : moveRecorded(target, source, outcome);
  }
  if (source.record) {
    records_.letGo();
  }
  if (error == 0) {
    outcome.moved = true;
    outcome.text = path_ + "/" + target;
    outcome.otherNames = source.status.st_nlink > 1 ? source.status.st_nlink - 1UL : 0UL;
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
int MoveFolder::moveNoted(const std::string& target, Source& source, Outcome& outcome) {
  const int problem = DesktopTrash::note(notes_.get(), target, source.path, clock_.wallTime());
  if (problem == EEXIST) {
    return problem;
  }
  const int error = placeHarmless(source, target, outcome);
  if (error != 0 && error != ENOTRECOVERABLE && problem == 0) {
    DesktopTrash::forget(notes_.get(), target);
  }
  outcome.unnoted = problem == 0 ? "" : reasonText(problem);
  return error;
}

// "" or why there can be no record of where it was.
std::string MoveFolder::prepareRecord(Source& source, std::string_view threat) {
  if (!records_.isOpen()) {
    if (const int error = records_.open(folder_.get(), RecordFolder::Missing::made); error != 0) {
      return reasonText(error);
    }
  }
  const auto identity = FileIdentity::of(source.file);
  if (!identity) {
    return reasonText(errno);
  }
  QuarantineRecord record;
  record.origin = source.path;
  record.threat = threat;
  record.moved = clock_.wallTime();
  if (!definitions_.empty()) {
    record.foundWith = definitionsBuiltIn(definitions_).value_or(QuarantineRecord::Time());
  }
  record.identity = *identity;
  const std::int64_t size = source.status.st_size;
  record.hash = size > source.largest ? "" : sha256OfFile(source.file, size).value_or("");
  record.mode = source.status.st_mode & 07777U;
  record.owner = source.status.st_uid;
  record.accessed = nanoseconds(source.status.st_atim);
  record.changed = nanoseconds(source.status.st_mtim);
  if (!records_.holdOffTidying(clock_)) {
    return "the records are in use";
  }
  source.record = std::move(record);
  return "";
}

// As with a note; and no file takes the place of the records themselves.
int MoveFolder::moveRecorded(const std::string& target, Source& source, Outcome& outcome) {
  if (target == RecordFolder::name) {
    return EEXIST;
  }
  int problem = 0;
  if (source.record) {
    source.record->name = target;
    problem = records_.add(*source.record);
  }
  if (problem == EEXIST) {
    return problem;
  }
  if (problem != 0) {
    outcome.unrecorded = reasonText(problem);
    source.record.reset();
    records_.letGo();
  }
  const int error = placeHarmless(source, target, outcome);
  if (source.record && error == 0) {
    records_.confirm(target);
  } else if (source.record) {
    records_.remove(target);
  }
  return error;
}

// Before its record says that it has been moved: whoever tidies up sees to it where this ends
// early.
int MoveFolder::placeHarmless(Source& source, const std::string& name, Outcome& outcome) {
  const int error = place(source, name);
  const int problem = error == 0 ? makeHarmless(source.file) : 0;
  outcome.executable = problem == 0 ? "" : reasonText(problem);
  return error;
}

// ESTALE when the name came to lead to something else at the last moment.
int MoveFolder::place(Source& source, const std::string& name) {
  const int error = renameWithoutReplacing(source.parent.get(), source.name, folder_.get(), name);
  if (error == EXDEV) {
    return copy(source, name);
  }
  if (error == 0 && !source.leadsThere(folder_.get(), name)) {
    // What took the scanned file's name goes back, unless that name has been taken once more.
    const bool isBack =
        renameWithoutReplacing(folder_.get(), name, source.parent.get(), source.name) == 0;
    return isBack ? ESTALE : ENOTRECOVERABLE;
  }
  return error;
}

// Under a name that nobody else knows, so that what is looked at is what is removed.
int MoveFolder::removeScanned(const Source& source) {
  const std::string secret = secretName();
  if (secret.empty()) {
    return EIO;
  }
  const int parent = source.parent.get();
  if (const int error = renameWithoutReplacing(parent, source.name, parent, secret); error != 0) {
    return error;
  }
  if (!source.leadsThere(parent, secret)) {
    renameWithoutReplacing(parent, secret, parent, source.name);
    return ESTALE;
  }
  return unlinkat(parent, secret.c_str(), 0) == 0 ? 0 : errno;
}

// With a record what is copied lies among the records until it is whole and known.
int MoveFolder::copy(Source& source, const std::string& name) {
  struct stat taken = {};
  if (fstatat(folder_.get(), name.c_str(), &taken, AT_SYMLINK_NOFOLLOW) == 0) {
    return EEXIST;
  }
  const int where = source.record ? records_.descriptor() : folder_.get();
  const std::string part = source.record ? secretName() : name;
  const UniqueFd target(
      openat(where, part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!target) {
    return errno;
  }
  int error = copyContents(source.file, target.get(), source.largest);
  if (error == 0 && fsync(target.get()) != 0) {
    error = errno;
  }
  if (error == 0 && source.record) {
    error = settle(source, target.get(), part, name);
  }
  if (error != 0) {
    unlinkat(where, part.c_str(), 0);
    return error;
  }
  error = removeScanned(source);
  if (error != 0) {
    unlinkat(folder_.get(), name.c_str(), 0);
  }
  return error;
}

// Gives the copy its name, on disk before the file goes that it was made of.
int MoveFolder::settle(Source& source, int copied, const std::string& part,
                       const std::string& name) {
  const auto identity = FileIdentity::of(copied);
  if (!identity) {
    return errno;
  }
  source.record->identity = *identity;
  if (const int error = records_.replace(*source.record); error != 0) {
    return error;
  }
  const int error = renameWithoutReplacing(records_.descriptor(), part, folder_.get(), name);
  if (error == 0 && fsync(folder_.get()) != 0) {
    const int failure = errno;
    unlinkat(folder_.get(), name.c_str(), 0);
    return failure;
  }
  return error;
}

}  // namespace quillo::wrapper
