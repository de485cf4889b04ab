#include "scanning/ScanList.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "posix/PlatformException.h"
#include "posix/Shell.h"

namespace quillo {
namespace {

// Whether all of it was written; errno tells otherwise.
bool writeAll(int descriptor, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = ::write(descriptor, text.data() + written, text.size() - written);
    if (count < 0 && errno != EINTR) {
      return false;
    }
    written += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
  return true;
}

std::string reason() { return std::strerror(errno); }

}  // namespace

ScanList::ScanList(const std::string& scannerName)
    : path_("/tmp/VantrelQuilloScanList_" + scannerName + ".txt") {}

std::string ScanList::write(const std::vector<std::string>& paths) {
  std::string text;
  for (const std::string& path : paths) {
    text.append(path).push_back('\n');
  }
  memory_.reset();
  std::string problem = writeFile(text);
  if (!problem.empty()) {
    keepInMemory(text);
  }
  return problem;
}

std::string ScanList::writeFile(const std::string& text) {
  const std::string subject = "Scan list " + path_;
  struct stat existing = {};
  if (lstat(path_.c_str(), &existing) == 0) {
    if (existing.st_uid != geteuid()) {
      return subject + " was made by somebody else (user " + std::to_string(existing.st_uid) +
             "); it is not used";
    }
    // A leftover of an earlier run of ours, or a link that is no use: never written through.
    if (unlink(path_.c_str()) != 0) {
      return subject + " cannot be replaced: " + reason();
    }
  }
  UniqueFd file(open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) {
    return subject + " cannot be made: " + reason();
  }
  if (!writeAll(file.get(), text)) {
    const std::string problem = subject + " cannot be written: " + reason();
    unlink(path_.c_str());
    return problem;
  }
  return {};
}

void ScanList::keepInMemory(const std::string& text) {
  const std::string name = "/vantrel-quillo-" + std::to_string(getpid()) + "-" +
                           std::to_string(reinterpret_cast<std::uintptr_t>(this));
  memory_.reset(shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600));
  if (!memory_) {
    throw PlatformException("ScanListFailure", "cannot keep a scan list in memory: " + reason());
  }
  shm_unlink(name.c_str());
  fcntl(memory_.get(), F_SETFD, FD_CLOEXEC);
  if (!writeAll(memory_.get(), text)) {
    throw PlatformException("ScanListFailure", "cannot write a scan list in memory: " + reason());
  }
  lseek(memory_.get(), 0, SEEK_SET);
}

void ScanList::remove() {
  if (memory_) {
    memory_.reset();
  } else {
    runShellCommand("rm " + path_);
  }
}

}  // namespace quillo
