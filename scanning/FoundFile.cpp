#include "scanning/FoundFile.h"

#include <atomic>
#include <cerrno>
#include <utility>

#include "clamav/Verdict.h"
#include "platform/LocalizedStrings.h"
#include "platform/NameWatch.h"
#include "platform/Notifier.h"
#include "platform/Workspace.h"
#include "posix/Text.h"
#include "scanning/ScanReport.h"
#include "scanning/ScannerOwner.h"

namespace quillo {
namespace {

std::string newTopic() {
  static std::atomic<std::uint64_t> finds{0};
  return "find " + std::to_string(++finds);
}

bool isAbsence(int error) { return error == ENOENT || error == ENOTDIR; }

}  // namespace

FoundFile::FoundFile(Verdict infection, const ScannerServices& services)
    : infection_(std::move(infection)),
      identity_(FileIdentity::at(infection_.file())),
      topic_(newTopic()),
      services_(services) {}

std::string FoundFile::pathAsShown() const { return reportedText(infection_.file()); }

void FoundFile::takePrint() {
  if (identity_ && services_.putBackFiles) {
    print_ = FilePrint::of(infection_.file());
  }
}

void FoundFile::watch() {
  const std::string& path = infection_.file();
  if (identity_) {
    if (services_.fileDepartures) {
      services_.fileDepartures->watch(
          path, [self = shared_from_this()] { return self->lookWhetherLeft(); });
    }
    return;
  }
  int error = 0;
  FileIdentity::at(path, error);
  // What bears no whole path may lie anywhere.
  if (path.starts_with('/') && isAbsence(error)) {
    services_.notifier.withdraw(topic_);
  }
}

// What cannot be looked at has not left.
bool FoundFile::isStillThere() const {
  int error = 0;
  const auto now = FileIdentity::at(infection_.file(), error);
  return now ? now->device == identity_->device && now->number == identity_->number &&
                   now->made == identity_->made
             : error != 0 && !isAbsence(error);
}

bool FoundFile::lookWhetherLeft() {
  if (!hasLeft_ && isStillThere()) {
    return false;
  }
  hasLeft();
  return true;
}

// Withdraws also what was shown after its window had moved the file.
void FoundFile::hasLeft() {
  if (!std::exchange(hasLeft_, true) && print_ && print_->identity == identity_) {
    services_.putBackFiles->hasLeft(infection_, *print_);
  }
  services_.notifier.withdraw(topic_);
}

// Whatever lies there and is not the file that was seen: a folder, a link, or what has come to a
// place where no file was.
bool FoundFile::isAnotherFile() const {
  int error = 0;
  const auto now = FileIdentity::at(infection_.file(), error);
  return error == 0 && (!now || now != identity_);
}

// The file that was scanned, not a link to it: the link is innocent, and what it leads to is not.
std::string FoundFile::moveToTrash() {
  const std::string& path = infection_.file();
  if (path.empty()) {
    return infection_.line;
  }
  if (isAnotherFile()) {
    return services_.localizedStrings.stringForKey("FILE_CHANGED",
                                                   "it is not the file that was scanned");
  }
  std::string problem = services_.workspace.recycle(deletingLastPathComponent(path),
                                                    {std::string(lastPathComponent(path))});
  if (problem.empty()) {
    writeScanLogLine(scanLogTimestamp(services_.clock),
                     pathAsShown() + ": moved to the Trash by the user");
    hasLeft();
  }
  return problem;
}

void FoundFile::show() {
  if (!infection_.file().empty()) {
    services_.workspace.selectFile(infection_.file());
  }
}

}  // namespace quillo
