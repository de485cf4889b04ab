#include "clamav/ScratchFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
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
  return 0;
}

int ScratchFolder::look(Clock::Duration now) {
  if (access((folder_ + "/.").c_str(), W_OK | X_OK) != 0) {
    tried_.reset();
    return errno;
  }
  if (!tried_ || now - *tried_ >= betweenAttempts) {
    errorOfAttempt_ = tryOut(folder_);
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

std::string ScratchFolder::problem(Clock::Duration heard) {
  const std::string why = reason(heard);
  return why.empty() ? "" : "the engine can make no temporary files in " + folder_ + ": " + why;
}

}  // namespace quillo
