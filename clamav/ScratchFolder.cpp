#include "clamav/ScratchFolder.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

#include "clamav/ClamConf.h"
#include "posix/Accounts.h"
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

// A file system that does not say what it holds has room.
std::uint64_t roomIn(const std::string& folder) {
  struct statvfs status = {};
  const bool isKnown = statvfs(folder.c_str(), &status) == 0 && status.f_blocks != 0;
  return isKnown ? std::uint64_t{status.f_bavail} * status.f_frsize
                 : std::numeric_limits<std::uint64_t>::max();
}

}  // namespace

ScratchFolder::ScratchFolder(std::string folder, Owner daemon, Clock& clock)
    : folder_(std::move(folder)), daemon_(daemon), clock_(clock) {}

ScratchFolder::ScratchFolder(const ClamConf& daemon, Clock& clock)
    : ScratchFolder(of(daemon), ownerNamed(daemon.value("User")), clock) {}

std::string ScratchFolder::of(const ClamConf& daemon) {
  return daemon.value("TemporaryDirectory", usualFolder);
}

ScratchFolder::Owner ScratchFolder::ownerNamed(const std::string& account) {
  return account.empty() || account == accountNumbered(geteuid()).name ? Owner::us : Owner::another;
}

int ScratchFolder::tryOut(const std::string& folder) {
  const std::string made = folder + namePrefix + secretName();
  if (mkdir(made.c_str(), 0700) != 0) {
    return errno;
  }
  rmdir(made.c_str());
  return roomIn(folder) < leastRoom ? ENOSPC : 0;
}

int ScratchFolder::look(Clock::Duration now) {
  if (access((folder_ + "/.").c_str(), W_OK | X_OK) != 0) {
    tried_.reset();
    return errno;
  }
  if (!tried_ || now - *tried_ >= betweenAttempts) {
    errorOfAttempt_ = tryOut(folder_);
    room_ = roomIn(folder_);
    tried_ = now;
  }
  return errorOfAttempt_;
}

std::string ScratchFolder::reason(Clock::Duration heard) {
  if (!looked_ || *looked_ <= heard) {
    looked_ = clock_.now();
    error_ = look(*looked_);
  }
  const bool isClosed = error_ == EACCES || error_ == EPERM;
  if (error_ == 0 || (isClosed && daemon_ == Owner::another && mayBeDaemons(folder_))) {
    return {};
  }
  return std::strerror(error_);
}

bool ScratchFolder::isTooSmallFor(std::uint64_t bytes) const {
  return error_ == 0 && room_ < leastRoom + 2 * std::min(bytes, mostTakenApart);
}

std::string ScratchFolder::problem(Clock::Duration heard, std::uint64_t bytes) {
  const std::string why = reason(heard);
  if (!why.empty()) {
    return "the engine can make no temporary files in " + folder_ + ": " + why;
  }
  return isTooSmallFor(bytes) ? "the engine has too little room for it in " + folder_ : "";
}

std::string ScratchFolder::lackOfRoom(std::uint64_t bytes) {
  const std::string problem = this->problem(clock_.now() - betweenAttempts, bytes);
  return error_ == ENOSPC || isTooSmallFor(bytes) ? problem : "";
}

}  // namespace quillo
