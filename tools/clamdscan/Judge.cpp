#include "tools/clamdscan/Judge.h"

#include <fcntl.h>

#include <cerrno>

#include "tools/clamdscan/Paths.h"

namespace quillo::front {

bool isLimitAlert(std::string_view threat) {
  constexpr std::string_view start = "Heuristics.Limits.Exceeded";
  return threat.substr(0, start.size()) == start;
}

void Judge::pass(const Entry& entry, const ClientLine& line) {
  switch (line.kind) {
    case ClientLine::Kind::clean:
      clean(entry);
      break;
    case ClientLine::Kind::infected:
      if (isLimitAlert(line.text)) {
        beyondLimit(entry, line.text.substr(line.text.rfind('.') + 1));
      } else {
        infected(entry, line.text);
      }
      break;
    default:
      report_.notScanned(entry.shown, whyFailed(entry, line));
      break;
  }
}

bool Judge::isTooLarge(const struct stat& status) const {
  return S_ISREG(status.st_mode) &&
         static_cast<std::uint64_t>(status.st_size) > limits_.largestFile;
}

std::string Judge::tooLargeText() const {
  return "larger than the limit of " + sizeText(limits_.largestFile);
}

void Judge::clean(const Entry& entry) {
  struct stat now = {};
  if (statusOf(entry.path, now) != 0) {
    now = entry.status;
  }
  if (!S_ISREG(now.st_mode)) {
    report_.notScanned(entry.shown, "it was replaced during the scan");
  } else if (isTooLarge(now)) {
    report_.notScanned(entry.shown, tooLargeText());
  } else {
    report_.clean(entry.shown);
  }
}

// With AlertExceedsMax the daemon alerts to a file only because it did not look at all of it. That
// is no threat, and nobody's large files are to be moved away for it.
void Judge::beyondLimit(const Entry& entry, std::string_view limit) {
  struct stat now = {};
  if (statusOf(entry.path, now) != 0) {
    now = entry.status;
  }
  report_.notScanned(entry.shown,
                     isTooLarge(now) ? tooLargeText()
                                     : "not to its end: beyond the daemon's " + std::string(limit));
}

void Judge::infected(const Entry& entry, std::string_view threat) {
  report_.infected(entry.shown, threat);
  if (moveFolder_.isOpen()) {
    moveAway(entry);
  } else if (entry.reachedByLink()) {
    report_.remark(entry.shown + ": leads to '" + entry.path + "'");
  }
}

void Judge::moveAway(const Entry& entry) {
  const std::string start =
      entry.shown + ": " + (entry.reachedByLink() ? "'" + entry.path + "' " : "");
  if (entry.path == movedFrom_) {
    if (entry.shown != movedShown_) {
      report_.remark(start + "moved to '" + movedTo_ + "'");
    }
    return;
  }
  const MoveFolder::Outcome outcome = moveFolder_.move(entry.path, entry.status);
  if (!outcome.moved) {
    report_.error(start + "not moved: " + outcome.text);
    return;
  }
  movedFrom_ = entry.path;
  movedTo_ = outcome.text;
  movedShown_ = entry.shown;
  report_.remark(start + "moved to '" + outcome.text + "'");
  if (!outcome.unnoted.empty()) {
    report_.error(entry.shown + ": the Trash does not know where it was: " + outcome.unnoted);
  }
  if (outcome.otherNames > 0) {
    report_.remark(entry.shown + ": the infected file still has " +
                   std::to_string(outcome.otherNames) + " other name" +
                   (outcome.otherNames == 1 ? "" : "s") + " (hard links)");
  }
}

std::string Judge::whyFailed(const Entry& entry, const ClientLine& line) const {
  struct stat now = {};
  if (const int error = statusOf(entry.path, now); error != 0) {
    return reasonText(error);
  }
  if (!S_ISREG(now.st_mode) && !S_ISDIR(now.st_mode)) {
    return typeText(now.st_mode);
  }
  if (!openPath(entry.path, O_RDONLY | O_NOFOLLOW)) {
    return reasonText(errno);
  }
  return line.text.empty() ? "the scanner could not read it" : std::string(line.text);
}

}  // namespace quillo::front
