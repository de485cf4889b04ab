#include "companion/quarantine/QuarantineWords.h"

#include <array>
#include <cstring>
#include <ctime>

#include "clamav/Verdict.h"
#include "companion/Counting.h"
#include "platform/LocalizedStrings.h"
#include "posix/Text.h"

namespace quillo {
namespace {

using Reason = QuarantineOutcome::Reason;

struct Named {
  const char* name;  // for programs
  const char* key;   // behind QUARANTINE_
};

constexpr std::array<Named, 18> reasons = {{{"done", "DONE"},
                                            {"gone", "REASON_GONE"},
                                            {"changed", "REASON_CHANGED"},
                                            {"originUnknown", "REASON_ORIGIN_UNKNOWN"},
                                            {"recordDamaged", "REASON_RECORD_DAMAGED"},
                                            {"targetExists", "REASON_TARGET_EXISTS"},
                                            {"targetIsLink", "REASON_TARGET_IS_LINK"},
                                            {"targetFolderMissing", "REASON_FOLDER_MISSING"},
                                            {"targetNoFolder", "REASON_NO_FOLDER"},
                                            {"throughLink", "REASON_THROUGH_LINK"},
                                            {"intoQuarantine", "REASON_INTO_QUARANTINE"},
                                            {"readOnly", "REASON_READ_ONLY"},
                                            {"full", "REASON_FULL"},
                                            {"forbidden", "REASON_FORBIDDEN"},
                                            {"notAllowed", "REASON_NOT_ALLOWED"},
                                            {"copyDiffers", "REASON_COPY_DIFFERS"},
                                            {"folderUnusable", "REASON_FOLDER_UNUSABLE"},
                                            {"failed", "REASON_FAILED"}}};
static_assert(reasons.size() == static_cast<std::size_t>(Reason::failed) + 1);

constexpr std::array<Named, 8> problems = {{{"none", ""},
                                            {"notChosen", "PROBLEM_NOT_CHOSEN"},
                                            {"missing", "PROBLEM_MISSING"},
                                            {"noFolder", "PROBLEM_NO_FOLDER"},
                                            {"somebodyElses", "PROBLEM_SOMEBODY_ELSES"},
                                            {"othersMayWrite", "PROBLEM_OTHERS_MAY_WRITE"},
                                            {"forbidden", "PROBLEM_FORBIDDEN"},
                                            {"failed", "PROBLEM_FAILED"}}};
static_assert(problems.size() ==
              static_cast<std::size_t>(QuarantineStore::FolderProblem::failed) + 1);

const Named& of(Reason reason) { return reasons.at(static_cast<std::size_t>(reason)); }
const Named& of(QuarantineStore::FolderProblem problem) {
  return problems.at(static_cast<std::size_t>(problem));
}

constexpr std::int64_t kilobyte = 1000;
constexpr std::int64_t megabyte = 1000 * kilobyte;

}  // namespace

const char* nameOf(Reason reason) { return of(reason).name; }
const char* nameOf(QuarantineStore::FolderProblem problem) { return of(problem).name; }

const char* nameOf(QuarantinedFile::Origin origin) {
  switch (origin) {
    case QuarantinedFile::Origin::known:
      return "known";
    case QuarantinedFile::Origin::unverified:
      return "unverified";
    case QuarantinedFile::Origin::damaged:
      return "damaged";
    default:
      return "unknown";
  }
}

const char* nameOf(QuarantineRecord::Check check) {
  switch (check) {
    case QuarantineRecord::Check::clean:
      return "clean";
    case QuarantineRecord::Check::infected:
      return "infected";
    case QuarantineRecord::Check::notScanned:
      return "notScanned";
    default:
      return "never";
  }
}

std::string QuarantineWords::text(const std::string& key) const {
  return strings_.stringForKey("QUARANTINE_" + key, "");
}

std::string QuarantineWords::counted(const std::string& key, std::uint64_t count) const {
  return countedIn(strings_, "QUARANTINE_" + key, count);
}

std::string QuarantineWords::problem(const QuarantineStore::Listing& listing,
                                     const std::string& folder) const {
  if (listing.problem == QuarantineStore::FolderProblem::none) {
    return {};
  }
  return Wording{std::string("QUARANTINE_") + of(listing.problem).key,
                 {reportedText(folder), std::strerror(listing.error)}}
      .in(strings_);
}

std::string QuarantineWords::outcome(const QuarantineOutcome& outcome) const {
  if (outcome.isDone() && !outcome.areAttributesKept) {
    return Wording{"QUARANTINE_DONE_OTHERWISE",
                   {reportedText(outcome.path), std::strerror(outcome.error)}}
        .in(strings_);
  }
  const std::string detail = outcome.reason == Reason::notAllowed ? reportedText(outcome.detail)
                                                                  : std::strerror(outcome.error);
  return Wording{std::string("QUARANTINE_") + of(outcome.reason).key,
                 {reportedText(outcome.path), detail}}
      .in(strings_);
}

std::string QuarantineWords::origin(const QuarantinedFile& file) const {
  return file.knowsOrigin() ? file.record.origin : text("ORIGIN_UNKNOWN");
}

std::string QuarantineWords::threat(const QuarantinedFile& file) const {
  return file.hasRecord() && !file.record.threat.empty() ? file.record.threat
                                                         : text("THREAT_UNKNOWN");
}

std::string QuarantineWords::state(const QuarantinedFile& file) const {
  if (file.origin == QuarantinedFile::Origin::damaged) {
    return text("STATE_DAMAGED");
  }
  if (!file.hasRecord()) {
    return text("STATE_NO_RECORD");
  }
  const std::string when = time(file.record.checkedWith);
  switch (file.check()) {
    case QuarantineRecord::Check::clean:
      return Wording{"QUARANTINE_STATE_CLEAN", {when}}.in(strings_);
    case QuarantineRecord::Check::infected:
      return when.empty() ? text("STATE_INFECTED")
                          : Wording{"QUARANTINE_STATE_STILL", {when}}.in(strings_);
    default:
      return text("STATE_INFECTED");
  }
}

std::string QuarantineWords::detail(const QuarantineCheckResult::Checked& checked) const {
  using Why = QuarantineCheckResult::Checked::Why;
  switch (checked.why) {
    case Why::silence:
      return text("UNCHECKED_SILENCE");
    case Why::changed:
      return text("UNCHECKED_CHANGED");
    case Why::notNewer:
      return text("UNCHECKED_NOT_NEWER");
    default:
      return reportedText(checked.detail);
  }
}

std::string QuarantineWords::time(QuarantineRecord::Time time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::array<char, 32> buffer;
  std::tm local = {};
  if (seconds == 0 || !localtime_r(&seconds, &local) ||
      std::strftime(buffer.data(), buffer.size(), "%Y-%m-%d %H:%M", &local) == 0) {
    return {};
  }
  return buffer.data();
}

std::string QuarantineWords::moved(const QuarantinedFile& file) const {
  const std::string when = file.hasRecord() ? time(file.record.moved) : std::string();
  return when.empty() ? text("TIME_UNKNOWN") : when;
}

std::string QuarantineWords::size(std::int64_t bytes) const {
  if (bytes < 10 * kilobyte) {
    return counted("BYTES", static_cast<std::uint64_t>(bytes));
  }
  const bool isLarge = bytes >= 10 * megabyte;
  const std::int64_t unit = isLarge ? megabyte : kilobyte;
  return Wording{isLarge ? "QUARANTINE_MEGABYTES" : "QUARANTINE_KILOBYTES",
                 {numberIn(strings_, static_cast<std::uint64_t>((bytes + unit / 2) / unit))}}
      .in(strings_);
}

}  // namespace quillo
