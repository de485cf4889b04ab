#include "watchers/ChangedFiles.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <tuple>
#include <utility>

#include "posix/PathOpening.h"
#include "posix/RealPath.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::size_t mostReaders = 64;
constexpr int toRead = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;

timespec timespecOf(std::chrono::system_clock::time_point time) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
  return {static_cast<time_t>(seconds.time_since_epoch().count()),
          static_cast<long>(std::chrono::nanoseconds(time - seconds).count())};
}

bool isSame(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool isBefore(const timespec& a, const timespec& b) {
  return std::tie(a.tv_sec, a.tv_nsec) < std::tie(b.tv_sec, b.tv_nsec);
}

}  // namespace

ChangedFiles::ChangedFiles(Time since, Services services)
    : since_(timespecOf(since)), services_(std::move(services)) {
  struct stat log = {};
  if (fstat(STDOUT_FILENO, &log) == 0 && S_ISREG(log.st_mode)) {
    log_ = {log.st_dev, log.st_ino};
  }
}

bool ChangedFiles::isChanged(const timespec& time) const { return !isBefore(time, since_); }

bool ChangedFiles::look(const std::string& place, bool withSubfolders) {
  if (!readMounts()) {
    return false;
  }
  const std::string real = RealPath(place).path();
  const bool isDone = std::any_of(done_.begin(), done_.end(), [&](const std::string& folder) {
    return real == folder || liesBelow(real, folder);
  });
  const Mount* const mount = mountHolding(real, mounts_);
  if (isDone || !mount || !isWatchable(*mount, getuid()) || services_.isOver()) {
    return true;
  }
  struct stat status = {};
  path_ = real;
  if (lstat(real.c_str(), &status) == 0 && !S_ISDIR(status.st_mode)) {
    path_ = real.substr(0, real.rfind('/') + 1);
    lookAt(AT_FDCWD, real.c_str(), false);
    return true;
  }
  path_ += path_ == "/" ? "" : "/";
  if (enter(openWithoutLinks(real, toRead), 0, true)) {
    walk(withSubfolders);
  }
  levels_.clear();
  if (withSubfolders) {
    done_.push_back(real);
  }
  return true;
}

// What cannot be told from a network drive must not be touched: it may never answer.
bool ChangedFiles::readMounts() {
  if (!mounts_.empty() && !table_.hasChanged()) {
    return true;
  }
  auto mounts = table_.read();
  if (!mounts) {
    return !mounts_.empty();
  }
  mounts_ = std::move(*mounts);
  unwatched_.clear();
  for (const Mount& mount : mounts_) {
    // The last one lies on top.
    unwatched_.erase(mount.point);
    if (!isWatchable(mount, getuid())) {
      unwatched_.insert(mount.point);
    }
  }
  return true;
}

bool ChangedFiles::enter(UniqueFd folder, std::size_t parent, bool isTop) {
  const bool isShort = !folder && (errno == EMFILE || errno == ENFILE || errno == ENOMEM);
  struct stat status = {};
  if (!folder || fstat(folder.get(), &status) != 0) {
    count_.isShort = count_.isShort || isShort;
    ++count_.unreadable;
    return false;
  }
  const Identity identity{status.st_dev, status.st_ino};
  if (std::any_of(levels_.begin(), levels_.end(),
                  [&](const Level& above) { return above.folder == identity; })) {
    return false;
  }
  Level level;
  level.folder = identity;
  level.parent = parent;
  // An entry that comes or goes sets both times of a folder to the same, its own move the one
  // alone; the other may be any that an archive brought along.
  level.isWhole = !levels_.empty() && levels_.back().isWhole;
  level.isWhole |= !isTop && isChanged(status.st_ctim) && !isSame(status.st_mtim, status.st_ctim);
  level.reader = std::make_unique<FolderReader>(std::move(folder));
  if (!*level.reader) {
    ++count_.unreadable;
    return false;
  }
  ++count_.folders;
  levels_.push_back(std::move(level));
  return true;
}

void ChangedFiles::walk(bool withSubfolders) {
  while (!levels_.empty() && !services_.isOver()) {
    if (levels_.size() > mostReaders && levels_.back().reader) {
      readNames(levels_.back());
      continue;
    }
    Level& level = levels_.back();
    std::string below;
    if (level.reader) {
      const dirent* const entry = level.reader->next();
      if (entry) {
        const unsigned char type = level.reader->typeOf(*entry);
        if (type == DT_REG) {
          lookAt(level.reader->descriptor(), entry->d_name, level.isWhole);
        }
        if (type != DT_DIR || !withSubfolders) {
          continue;
        }
        below = entry->d_name;
      }
    } else if (!level.folders.empty()) {
      below = std::move(level.folders.back());
      level.folders.pop_back();
    }
    if (!below.empty()) {
      descend(below);
      continue;
    }
    path_.resize(level.parent);
    levels_.pop_back();
  }
}

// So deep down a folder is not kept open while those in it are looked through.
void ChangedFiles::readNames(Level& level) {
  while (const dirent* entry = level.reader->next()) {
    if (services_.isOver()) {
      return;
    }
    const unsigned char type = level.reader->typeOf(*entry);
    if (type == DT_REG) {
      lookAt(level.reader->descriptor(), entry->d_name, level.isWhole);
    } else if (type == DT_DIR) {
      level.folders.emplace_back(entry->d_name);
    }
  }
  level.reader.reset();
}

void ChangedFiles::descend(const std::string& name) {
  const std::size_t parent = path_.size();
  // No program can open what is longer.
  if (parent + name.size() + 1 >= PATH_MAX || !readMounts()) {
    return;
  }
  path_ += name;
  const Level& above = levels_.back();
  if (unwatched_.count(path_) == 0 &&
      enter(above.reader ? UniqueFd(openat(above.reader->descriptor(), name.c_str(), toRead))
                         : openWithoutLinks(path_, toRead),
            parent, false)) {
    path_ += '/';
  } else {
    path_.resize(parent);
  }
}

void ChangedFiles::lookAt(int folder, const char* name, bool isWhole) {
  ++count_.files;
  struct stat status = {};
  if (fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0 ||
      !S_ISREG(status.st_mode) || status.st_size == 0 || (!isWhole && !isChanged(status.st_ctim)) ||
      log_ == Identity{status.st_dev, status.st_ino}) {
    return;
  }
  const std::string path = *name == '/' ? name : path_ + name;
  if (path.size() < PATH_MAX) {
    services_.handOver(path);
  }
}

}  // namespace quillo
