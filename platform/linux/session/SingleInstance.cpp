#include "platform/linux/session/SingleInstance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace quillo {
namespace {

constexpr char fileName[] = "vantrel-quillo.lock";

std::vector<std::string> runtimeFolders(const Environment& environment) {
  std::vector<std::string> folders;
  if (const auto folder = environment.folder("XDG_RUNTIME_DIR")) {
    folders.push_back(*folder);
  }
  // An agent started outside of the session's environment meets the others here.
  folders.push_back("/run/user/" + std::to_string(getuid()));
  return folders;
}

bool isOursAlone(const struct stat& info) {
  return info.st_uid == getuid() && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool isStillNamed(int folder, int file) {
  struct stat named = {};
  struct stat held = {};
  return fstatat(folder, fileName, &named, AT_SYMLINK_NOFOLLOW) == 0 && fstat(file, &held) == 0 &&
         named.st_dev == held.st_dev && named.st_ino == held.st_ino;
}

}  // namespace

SingleInstance::SingleInstance(const Environment& environment)
    : SingleInstance(runtimeFolders(environment),
                     "/tmp/vantrel-quillo-" + std::to_string(getuid())) {}

SingleInstance::SingleInstance(const std::vector<std::string>& folders,
                               const std::string& fallback) {
  for (const std::string& folder : folders) {
    if (lockIn(folder)) {
      return;
    }
  }
  mkdir(fallback.c_str(), 0700);
  lockIn(fallback);
}

bool SingleInstance::lockIn(const std::string& folder) {
  folder_.reset(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat info = {};
  if (!folder_ || fstat(folder_.get(), &info) != 0) {
    const int error = errno;
    problem_ = folder + ": " + std::strerror(error);
    return false;
  }
  if (!isOursAlone(info)) {
    problem_ = folder + ": not this user's alone";
    return false;
  }
  // Those that tidy up a temporary folder leave one alone that is locked (tmpfiles.d(5)).
  flock(folder_.get(), LOCK_SH | LOCK_NB);
  return lockFileIn(folder);
}

bool SingleInstance::lockFileIn(const std::string& folder) {
  for (;;) {
    file_.reset(openat(folder_.get(), fileName,
                       O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600));
    if (!file_) {
      const int error = errno;
      problem_ = folder + "/" + fileName + ": " + std::strerror(error);
      return false;
    }
    if (flock(file_.get(), LOCK_EX | LOCK_NB) != 0) {
      const int error = errno;
      if (error == EINTR) {
        continue;
      }
      isFirst_ = error != EWOULDBLOCK;
      problem_ = isFirst_ ? folder + "/" + fileName + ": " + std::strerror(error) : std::string();
      return !isFirst_;
    }
    // Somebody may have deleted it between the two calls, and another process locked a new one.
    if (isStillNamed(folder_.get(), file_.get())) {
      problem_.clear();
      return true;
    }
  }
}

}  // namespace quillo
