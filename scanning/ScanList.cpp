#include "scanning/ScanList.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "posix/ChildProcess.h"
#include "posix/EscapedPath.h"
#include "posix/OwnFile.h"
#include "posix/PlatformException.h"

namespace quillo {

ScanList::ScanList(const std::string& scannerName)
    : path_("/tmp/VantrelQuilloScanList_" + scannerName + ".txt") {}

std::string ScanList::write(const std::vector<std::string>& paths) {
  std::string text;
  for (const std::string& path : paths) {
    text.append(escapedPathLine(path)).push_back('\n');
  }
  memory_.reset();
  std::string problem = writeOwnFile("Scan list", path_, text);
  if (!problem.empty()) {
    keepInMemory(text);
  }
  return problem;
}

void ScanList::keepInMemory(const std::string& text) {
  const std::string name = "/vantrel-quillo-" + std::to_string(getpid()) + "-" +
                           std::to_string(reinterpret_cast<std::uintptr_t>(this));
  memory_.reset(shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600));
  if (!memory_) {
    throw PlatformException::ofSystemCall("ScanListFailure", "cannot keep a scan list in memory",
                                          errno);
  }
  shm_unlink(name.c_str());
  fcntl(memory_.get(), F_SETFD, FD_CLOEXEC);
  if (!writeAll(memory_.get(), text)) {
    throw PlatformException::ofSystemCall("ScanListFailure", "cannot write a scan list in memory",
                                          errno);
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
