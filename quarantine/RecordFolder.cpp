#include "quarantine/RecordFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "posix/Clock.h"
#include "posix/FileFacts.h"
#include "posix/FileMoving.h"
#include "posix/FolderReader.h"

namespace quillo {
namespace {

// In all several seconds: who tidies up lets go after a few hundred records, each of which may have
// to wait for the disk.
constexpr int patience = 500;
constexpr std::chrono::milliseconds betweenTries(10);

std::string asideOf(const std::string& entry) {
  return entry + std::string(RecordFolder::asideEnding);
}

bool isOwn(const struct stat& status) {
  return status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

}  // namespace

int RecordFolder::open(int quarantine, Missing missing) {
  constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  folder_.reset(openat(quarantine, name, flags));
  if (!folder_ && errno == ENOENT && missing == Missing::made) {
    if (mkdirat(quarantine, name, 0700) != 0 && errno != EEXIST) {
      return errno;
    }
    folder_.reset(openat(quarantine, name, flags));
  }
  struct stat status = {};
  if (!folder_ || fstat(folder_.get(), &status) != 0) {
    return errno;
  }
  if (!isOwn(status)) {
    folder_.reset();
    return EPERM;
  }
  return 0;
}

std::string RecordFolder::written(const QuarantineRecord& record) const {
  const std::string text = record.text();
  if (text.size() > longestRecord) {
    errno = EFBIG;
    return {};
  }
  std::string fresh = secretName();
  const UniqueFd file(openat(folder_.get(), fresh.c_str(),
                             O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) {
    return {};
  }
  if (!writeAll(file.get(), text) || fsync(file.get()) != 0) {
    const int error = errno;
    unlinkat(folder_.get(), fresh.c_str(), 0);
    errno = error;
    return {};
  }
  return fresh;
}

int RecordFolder::add(const QuarantineRecord& record) {
  const std::string entry = entryFor(record.name);
  if (faccessat(folder_.get(), entry.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0) {
    return EEXIST;
  }
  const std::string fresh = written(record);
  if (fresh.empty()) {
    return errno;
  }
  const int error = renameWithoutReplacing(folder_.get(), fresh, folder_.get(), entry);
  if (error != 0) {
    unlinkat(folder_.get(), fresh.c_str(), 0);
  }
  return error;
}

int RecordFolder::replace(const QuarantineRecord& record) {
  const std::string fresh = written(record);
  if (fresh.empty()) {
    return errno;
  }
  const std::string entry = entryFor(record.name);
  if (renameat(folder_.get(), fresh.c_str(), folder_.get(), entry.c_str()) != 0) {
    const int error = errno;
    unlinkat(folder_.get(), fresh.c_str(), 0);
    return error;
  }
  return 0;
}

void RecordFolder::confirm(const std::string& file) {
  const UniqueFd record(openat(folder_.get(), entryFor(file).c_str(),
                               O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  const std::string_view state = recordStateText(QuarantineRecord::State::moved);
  // If it fails, the file beside it says the same.
  static_cast<void>(!record ||
                    pwrite(record.get(), state.data(), state.size(), recordStatePlace) < 0);
}

void RecordFolder::remove(const std::string& file) {
  unlinkat(folder_.get(), entryFor(file).c_str(), 0);
  unlinkat(folder_.get(), asideOf(entryFor(file)).c_str(), 0);
}

int RecordFolder::setAside(const std::string& file) {
  const std::string entry = entryFor(file);
  const int error = renameWithoutReplacing(folder_.get(), entry, folder_.get(), asideOf(entry));
  return error == ENOENT ? 0 : error;
}

bool RecordFolder::bringBack(const std::string& file) {
  const std::string entry = entryFor(file);
  return renameat(folder_.get(), asideOf(entry).c_str(), folder_.get(), entry.c_str()) == 0;
}

void RecordFolder::bringBackEntry(const std::string& aside) {
  renameWithoutReplacing(folder_.get(), aside, folder_.get(),
                         aside.substr(0, aside.size() - asideEnding.size()));
}

std::optional<QuarantineRecord> RecordFolder::find(const std::string& file) const {
  auto record = read(entryFor(file));
  if (record && record->name != file) {
    errno = EBADMSG;
    return std::nullopt;
  }
  return record;
}

std::optional<QuarantineRecord> RecordFolder::at(const std::string& entry) const {
  auto record = read(entry);
  if (record && entryFor(record->name) != entry) {
    errno = EBADMSG;
    return std::nullopt;
  }
  return record;
}

std::optional<QuarantineRecord> RecordFolder::read(const std::string& entry) const {
  const UniqueFd file(openat(folder_.get(), entry.c_str(),
                             O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file) {
    errno = errno == ENOENT ? ENOENT : EBADMSG;
    return std::nullopt;
  }
  struct stat status = {};
  std::optional<QuarantineRecord> record;
  if (fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && isOwn(status)) {
    if (const auto text = restOfFile(file.get(), longestRecord)) {
      record = QuarantineRecord::parse(*text);
    }
  }
  if (!record) {
    errno = EBADMSG;
  }
  return record;
}

bool RecordFolder::holdOffTidying(Clock& clock) {
  for (int tries = 0; tries < patience; ++tries) {
    if (flock(folder_.get(), LOCK_SH | LOCK_NB) == 0) {
      return true;
    }
    if (errno != EWOULDBLOCK && errno != EINTR) {
      return false;
    }
    clock.sleepFor(betweenTries);
  }
  return false;
}

bool RecordFolder::startTidying() { return flock(folder_.get(), LOCK_EX | LOCK_NB) == 0; }

void RecordFolder::letGo() { flock(folder_.get(), LOCK_UN); }

std::vector<std::string> RecordFolder::entries() const {
  FolderReader reader(UniqueFd(openat(folder_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
  std::vector<std::string> names;
  if (reader) {
    while (const dirent* const entry = reader.next()) {
      names.emplace_back(entry->d_name);
    }
  }
  return names;
}

}  // namespace quillo
