#include "clamav/ScratchFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "clamav/ClamConf.h"
#include "posix/FileMoving.h"

namespace quillo {
namespace {

constexpr char usualFolder[] = "/tmp";
constexpr char namePrefix[] = "/vantrel-quillo-tried";

// What is closed to this account may have been made for the daemon's.
bool mayBeDaemons(const std::string& folder) {
  struct stat status = {};
  return stat(folder.c_str(), &status) != 0 || status.st_uid != 0 ||
         (status.st_mode & S_IWGRP) != 0;
}

}  // namespace

ScratchFolder::ScratchFolder(std::string folder, Owner daemon, Clock& clock)
    : folder_(std::move(folder)), daemon_(daemon), clock_(clock) {}

std::string ScratchFolder::of(const ClamConf& daemon) {
  return daemon.value("TemporaryDirectory", usualFolder);
}

int ScratchFolder::tryOut(const std::string& folder) {
  const std::string made = folder + namePrefix + secretName();
  if (mkdir(made.c_str(), 0700) != 0) {
    return errno;
  }
  rmdir(made.c_str());
  return 0;
}

int ScratchFolder::error() {
  if (access((folder_ + "/.").c_str(), W_OK | X_OK) != 0) {
    tried_.reset();
    return errno;
  }
  const Clock::Duration now = clock_.now();
  if (!tried_ || now - *tried_ >= betweenAttempts) {
    lastError_ = tryOut(folder_);
    tried_ = now;
  }
  return lastError_;
}

std::string ScratchFolder::problem() {
  const int why = error();
  const bool isClosed = why == EACCES || why == EPERM;
  if (why == 0 || (isClosed && daemon_ == Owner::another && mayBeDaemons(folder_))) {
    return {};
  }
  return "the engine can make no temporary files in " + folder_ + ": " + std::strerror(why);
}

}  // namespace quillo
