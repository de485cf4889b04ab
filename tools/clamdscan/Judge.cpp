#include "tools/clamdscan/Judge.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "tools/clamdscan/Paths.h"

namespace quillo::wrapper {
namespace {

Answer unscannable(std::string why, Verdict::Limit limit = Verdict::Limit::none) {
  return {Answer::Kind::notScanned, std::move(why), limit};
}

}  // namespace

bool isLimitAlert(std::string_view threat) {
  return threat.starts_with("Heuristics.Limits.Exceeded");
}

void Judge::pass(const Job& job, const Answer& answer) {
  // Only names of one job lead to one file.
  movedFrom_.clear();
  const std::optional<Answer> doubt =
      answer.kind == Answer::Kind::clean ? whyNotClean(job, answer.heard) : std::nullopt;
  for (const Entry& entry : job.entries) {
    switch (answer.kind) {
      case Answer::Kind::clean:
        if (doubt) {
          notScanned(entry, *doubt);
          break;
        }
        report_.pass();
        if (!job.inFolder) {
          report_.clean(entry.shown, entry.target());
        }
        break;
      case Answer::Kind::infected:
        infected(entry, job.file.get(), answer.text);
        break;
      case Answer::Kind::notScanned:
        notScanned(entry, answer);
        break;
    }
  }
}

void Judge::notScanned(const Entry& entry, const Answer& why) {
  Verdict verdict;
  verdict.kind = Verdict::Kind::notScanned;
  verdict.path = entry.shown;
  verdict.target = entry.target();
  verdict.reason = why.text;
  verdict.limit = why.limit;
  verdict.daemonGone = why.daemonGone;
  if (why.limit == Verdict::Limit::fileSize) {
    verdict.largestFile = limits_.largestFile;
  }
  report_.notScanned(std::move(verdict));
}

bool Judge::isTooLarge(const struct stat& status) const {
  return static_cast<std::uint64_t>(status.st_size) > limits_.largestFile;
}

Answer Judge::tooLarge() const {
  return unscannable("larger than the limit of " + sizeText(limits_.largestFile),
                     Verdict::Limit::fileSize);
}

Answer Judge::unopened(int error) {
  const bool passes = error == EMFILE || error == ENFILE || error == ENOMEM;
  return passes ? Answer::postponed(reasonText(error)) : unscannable(reasonText(error));
}

std::optional<Answer> Judge::objection(Job& job) {
  struct stat status = {};
  if (fstat(job.file.get(), &status) != 0) {
    return unscannable(reasonText(errno));
  }
  job.size = status.st_size;
  if (!S_ISREG(status.st_mode)) {
    return unscannable(typeText(status.st_mode));
  }
  if (isTooLarge(status)) {
    return tooLarge();
  }
  std::string lack = scratch_.lackOfRoom(static_cast<std::uint64_t>(job.size));
  return lack.empty() ? std::nullopt : std::optional<Answer>(Answer::postponed(std::move(lack)));
}

// The engine calls also what it could not read clean, and what has become too large. What is read
// here, at the end that the file had, shows both.
std::optional<Answer> Judge::whyNotClean(const Job& job, Clock::Duration heard) {
  const auto size = static_cast<std::uint64_t>(job.size);
  if (std::string problem = scratch_.problem(heard, size); !problem.empty()) {
    doubtsMemory_ = doubtsMemory_ || !scratch_.lackOfRoom(size).empty();
    return Answer::postponed(std::move(problem));
  }
  std::array<char, 2> bytes;
  const off_t last = job.size == 0 ? 0 : job.size - 1;
  const ssize_t count = pread(job.file.get(), bytes.data(), bytes.size(), last);
  if (count < 0) {
    return unscannable(reasonText(errno));
  }
  struct stat now = {};
  const bool grown = last + count > job.size;
  return grown && fstat(job.file.get(), &now) == 0 && isTooLarge(now)
             ? std::optional<Answer>(tooLarge())
             : std::nullopt;
}

void Judge::infected(const Entry& entry, int file, std::string_view threat) {
  if (isLimitAlert(threat)) {
    // With AlertExceedsMax the daemon alerts to a file only because it did not look at all of it.
    // That is no threat, and nobody's large files are to be moved away for it.
    struct stat now = {};
    const std::string limit(threat.substr(threat.rfind('.') + 1));
    notScanned(entry, fstat(file, &now) == 0 && isTooLarge(now)
                          ? tooLarge()
                          : unscannable("not to its end: beyond the daemon's " + limit,
                                        Verdict::Limit::contents));
    return;
  }
  Verdict verdict;
  verdict.kind = Verdict::Kind::infected;
  verdict.path = entry.shown;
  verdict.target = entry.target();
  verdict.threat = threat;
  if (moveFolder_.isOpen()) {
    moveAway(verdict, entry, file);
    return;
  }
  verdict.whereabouts =
      unmovable_.empty() ? Verdict::Whereabouts::inPlace : Verdict::Whereabouts::notMoved;
  verdict.reason = unmovable_;
  report_.infected(verdict);
  if (entry.reachedByLink()) {
    report_.remark(entry.shown + ": leads to '" + entry.path + "'");
  }
}

void Judge::moveAway(Verdict& verdict, const Entry& entry, int file) {
  if (!movedFrom_.empty() && entry.path == movedFrom_) {
    verdict.whereabouts = Verdict::Whereabouts::moved;
    verdict.destination = movedTo_;
    report_.infected(verdict);
    if (entry.shown != movedShown_) {
      report_.whereabouts(verdict);
    }
    return;
  }
  MoveFolder::Outcome outcome;
  if (report_.announce(verdict)) {
    outcome = moveFolder_.move(entry.path, file, verdict.threat, limits_.largestFile);
  } else if (report_.moveWasRefused()) {
    outcome.text = "it was put back";
  } else {
    outcome.text = "whoever reads the report did not confirm its line in time";
  }
  verdict.whereabouts = outcome.moved              ? Verdict::Whereabouts::moved
                        : report_.moveWasRefused() ? Verdict::Whereabouts::inPlace
                                                   : Verdict::Whereabouts::notMoved;
  (outcome.moved ? verdict.destination : verdict.reason) = outcome.text;
  report_.outcome(verdict);
  if (!outcome.moved) {
    return;
  }
  movedFrom_ = entry.path;
  movedTo_ = outcome.text;
  movedShown_ = entry.shown;
  if (!outcome.executable.empty()) {
    report_.error(entry.shown + ": it can still be run as a program: " + outcome.executable);
  }
  if (!outcome.unrecorded.empty()) {
    report_.error(entry.shown +
                  ": the quarantine does not know where it was: " + outcome.unrecorded);
  }
  if (!outcome.unnoted.empty()) {
    report_.error(entry.shown + ": the Trash does not know where it was: " + outcome.unnoted);
  }
  if (outcome.otherNames > 0) {
    report_.remark(entry.shown + ": the infected file still has " +
                   std::to_string(outcome.otherNames) + " other name" +
                   (outcome.otherNames == 1 ? "" : "s") + " (hard links)");
  }
}

}  // namespace quillo::wrapper
