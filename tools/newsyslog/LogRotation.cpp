#include "tools/newsyslog/LogRotation.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <system_error>

#include "posix/Text.h"
#include "posix/UniqueFd.h"
#include "tools/newsyslog/Bzip2.h"

namespace quillo {
namespace {

constexpr char unfinished[] = ".part";

class PosixLogFolder final : public LogFolder {
 public:
  PosixLogFolder(std::string path, bool setsOwners)
      : path_(std::move(path)),
        setsOwners_(setsOwners),
        folder_(open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (!folder_) {
      throw std::system_error(errno, std::generic_category(), "cannot open the folder " + path_);
    }
    while (flock(folder_.get(), LOCK_EX) != 0) {
      if (errno != EINTR) {
        throw std::system_error(errno, std::generic_category(), "cannot lock the folder " + path_);
      }
    }
  }

  std::optional<std::uint64_t> sizeOf(const std::string& name) override;
  Writer writerOf(const std::string& name) override;
  bool beginsWithArchive(const std::string& name, const std::string& archive) override;
  void rename(const std::string& from, const std::string& to) override;
  void replace(const std::string& from, const std::string& to) override;
  void remove(const std::string& name) override;
  void createEmpty(const std::string& name, const LogAttributes& attributes) override;
  std::uint64_t compress(const std::string& name, const std::string& before,
                         const std::string& archive, const LogAttributes& attributes) override;
  void sync() override { fsync(folder_.get()); }

 private:
  [[noreturn]] void fail(const std::string& what, const std::string& name) const {
    throw std::system_error(errno, std::generic_category(), what + " " + path_ + "/" + name);
  }
  UniqueFd openForReading(const std::string& name) const;
  UniqueFd createNew(const std::string& name, const LogAttributes& attributes) const;
  void copyTo(const std::string& name, int target) const;

  std::string path_;
  bool setsOwners_;
  UniqueFd folder_;
};

std::optional<std::uint64_t> PosixLogFolder::sizeOf(const std::string& name) {
  struct stat status = {};
  if (fstatat(folder_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    if (errno == ENOENT) {
      return std::nullopt;
    }
    fail("cannot look at", name);
  }
  if (!S_ISREG(status.st_mode)) {
    throw std::runtime_error(path_ + "/" + name + " is " +
                             (S_ISLNK(status.st_mode) ? "a symbolic link" : "something else") +
                             "; only a regular file is rotated");
  }
  return static_cast<std::uint64_t>(status.st_size);
}

LogFolder::Writer PosixLogFolder::writerOf(const std::string& name) {
  // The kernel grants a read lease only on a file that nobody has open for writing (fcntl(2)).
  const UniqueFd file = openForReading(name);
  if (fcntl(file.get(), F_SETLEASE, F_RDLCK) == 0) {
    fcntl(file.get(), F_SETLEASE, F_UNLCK);
    return Writer::none;
  }
  return errno == EAGAIN || errno == EBUSY ? Writer::present : Writer::unknown;
}

bool PosixLogFolder::beginsWithArchive(const std::string& name, const std::string& archive) {
  const UniqueFd plain = openForReading(name);
  const UniqueFd packed = openForReading(archive);
  try {
    return quillo::beginsWithArchive(plain.get(), packed.get());
  } catch (const std::system_error& failure) {
    if (failure.code().value() == EBADMSG) {
      return false;
    }
    errno = failure.code().value();
    fail("cannot compare", archive);
  }
}

void PosixLogFolder::rename(const std::string& from, const std::string& to) {
  if (renameat2(folder_.get(), from.c_str(), folder_.get(), to.c_str(), RENAME_NOREPLACE) == 0) {
    return;
  }
  if (errno != EINVAL || sizeOf(to).has_value()) {
    fail("cannot rename to " + to + " the file", from);
  }
  replace(from, to);  // a file system that does not know the flag
}

void PosixLogFolder::replace(const std::string& from, const std::string& to) {
  if (renameat(folder_.get(), from.c_str(), folder_.get(), to.c_str()) != 0) {
    fail("cannot rename to " + to + " the file", from);
  }
}

void PosixLogFolder::remove(const std::string& name) {
  if (unlinkat(folder_.get(), name.c_str(), 0) != 0) {
    fail("cannot remove", name);
  }
}

void PosixLogFolder::createEmpty(const std::string& name, const LogAttributes& attributes) {
  createNew(name, attributes);
}

std::uint64_t PosixLogFolder::compress(const std::string& name, const std::string& before,
                                       const std::string& archive,
                                       const LogAttributes& attributes) {
  const UniqueFd plain = openForReading(name);
  const UniqueFd packed = createNew(archive, attributes);
  try {
    if (!before.empty()) {
      copyTo(before, packed.get());
    }
    const std::uint64_t held = compressTo(plain.get(), packed.get());
    if (fsync(packed.get()) != 0) {
      throw std::system_error(errno, std::generic_category());
    }
    return held;
  } catch (const std::system_error& failure) {
    unlinkat(folder_.get(), archive.c_str(), 0);
    errno = failure.code().value();
    fail("cannot compress", name);
  }
}

UniqueFd PosixLogFolder::openForReading(const std::string& name) const {
  // Nonblocking, lest a FIFO of that name hold the rotation up.
  UniqueFd file(
      openat(folder_.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file) {
    fail("cannot open", name);
  }
  return file;
}

UniqueFd PosixLogFolder::createNew(const std::string& name, const LogAttributes& attributes) const {
  UniqueFd file(openat(folder_.get(), name.c_str(),
                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) {
    fail("cannot make", name);
  }
  const auto user = attributes.user.value_or(static_cast<uid_t>(-1));
  const auto group = attributes.group.value_or(static_cast<gid_t>(-1));
  // The owner first: a change of owner may take mode bits away.
  if ((setsOwners_ && fchown(file.get(), user, group) != 0) ||
      fchmod(file.get(), attributes.mode) != 0) {
    const int reason = errno;
    unlinkat(folder_.get(), name.c_str(), 0);
    errno = reason;
    fail("cannot set owner and mode of", name);
  }
  return file;
}

void PosixLogFolder::copyTo(const std::string& name, int target) const {
  const UniqueFd source = openForReading(name);
  std::array<char, 65536> buffer;
  ssize_t count = 0;
  while ((count = readSome(source.get(), buffer.data(), buffer.size())) > 0) {
    if (!writeAll(target, {buffer.data(), static_cast<std::size_t>(count)})) {
      break;
    }
  }
  if (count != 0) {
    throw std::system_error(errno, std::generic_category());
  }
}

}  // namespace

LogRotation::LogRotation(const LogEntry& entry, LogFolder& folder)
    : entry_(entry), folder_(folder), name_(lastPathComponent(entry.path)) {}

std::string LogRotation::plain(int version) const { return name_ + "." + std::to_string(version); }

std::string LogRotation::archive(int version) const { return plain(version) + ".bz2"; }

bool LogRotation::isFree(int version) {
  return !folder_.sizeOf(plain(version)) && !folder_.sizeOf(archive(version));
}

bool LogRotation::hasReachedItsSize() {
  const std::optional<std::uint64_t> size = folder_.sizeOf(name_);
  return size && entry_.sizeLimit && *size / 1024 >= *entry_.sizeLimit;
}

void LogRotation::run(bool createsMissing) {
  finishLeftovers();
  if (!folder_.sizeOf(name_)) {
    if (createsMissing && entry_.createIfMissing) {
      folder_.createEmpty(name_, entry_.attributes);
      folder_.sync();
    }
  } else if (hasReachedItsSize()) {
    rotate();
  }
}

void LogRotation::finishLeftovers() {
  for (int version = 0; version <= entry_.count; ++version) {
    if (folder_.sizeOf(archive(version) + unfinished)) {
      folder_.remove(archive(version) + unfinished);
    }
    if (folder_.sizeOf(plain(version))) {
      settle(version, false);
    }
  }
  dropTheSurplus();
}

void LogRotation::settle(int version, bool renamedJustNow) {
  if (!entry_.compress) {
    return;
  }
  bool hasArchive = folder_.sizeOf(archive(version)).has_value();
  if (hasArchive && folder_.beginsWithArchive(plain(version), archive(version))) {
    // Compressed before, but not removed: it ended there, or a writer had added to it.
    folder_.remove(archive(version));
    hasArchive = false;
  }
  const LogFolder::Writer writer = folder_.writerOf(plain(version));
  if (writer == LogFolder::Writer::present ||
      (writer == LogFolder::Writer::unknown && renamedJustNow)) {
    return;
  }
  const std::string part = archive(version) + unfinished;
  const std::uint64_t held = folder_.compress(
      plain(version), hasArchive ? archive(version) : std::string(), part, entry_.attributes);
  folder_.replace(part, archive(version));
  folder_.sync();
  if (folder_.sizeOf(plain(version)) == held) {
    folder_.remove(plain(version));
    folder_.sync();
  }
}

void LogRotation::rotate() {
  shift();
  folder_.rename(name_, plain(0));
  makeNewLog();
  folder_.sync();
  dropTheSurplus();
  settle(0, true);
}

// Only as far as the first gap, which an interrupted rotation may have left. The oldest version
// takes the place beyond the count until the log has been renamed.
void LogRotation::shift() {
  int gap = 0;
  while (gap < entry_.count && !isFree(gap)) {
    ++gap;
  }
  for (int version = gap; version > 0; --version) {
    for (const bool packed : {true, false}) {
      const std::string from = packed ? archive(version - 1) : plain(version - 1);
      if (folder_.sizeOf(from)) {
        folder_.rename(from, packed ? archive(version) : plain(version));
      }
    }
  }
  folder_.sync();
}

void LogRotation::makeNewLog() {
  try {
    folder_.createEmpty(name_, entry_.attributes);
  } catch (const std::system_error&) {
    // Back to where it was, unless its writer has already made a new one.
    if (!folder_.sizeOf(name_)) {
      folder_.rename(plain(0), name_);
      throw;
    }
  }
}

void LogRotation::dropTheSurplus() {
  for (int version = 0; version <= entry_.count; ++version) {
    if (isFree(version)) {
      return;  // a rotation has not come to its end: nothing is surplus yet
    }
  }
  for (const std::string& name : {plain(entry_.count), archive(entry_.count)}) {
    if (folder_.sizeOf(name)) {
      folder_.remove(name);
    }
  }
  folder_.sync();
}

std::unique_ptr<LogFolder> openLogFolder(const std::string& path, bool setsOwners) {
  return std::make_unique<PosixLogFolder>(path, setsOwners);
}

}  // namespace quillo
