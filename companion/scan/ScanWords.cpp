#include "companion/scan/ScanWords.h"

#include <algorithm>

#include "clamav/ScanLimits.h"
#include "companion/Counting.h"
#include "platform/LocalizedStrings.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::int64_t secondsOfAMinute = 60;
// From here on nobody wants to read minutes.
constexpr std::int64_t minutesBeforeHours = 90;

}  // namespace

std::string ScanWords::text(const std::string& key) const { return strings_.stringForKey(key, ""); }

std::string ScanWords::counted(const std::string& key, std::uint64_t count) const {
  return countedIn(strings_, key, count);
}

std::string ScanWords::phase(const ManualScanState& state) const {
  switch (state.phase) {
    case ManualScanState::Phase::waiting:
      return text("SCAN_STATE_WAITING");
    case ManualScanState::Phase::scanning:
      return text("SCAN_STATE_SCANNING");
    case ManualScanState::Phase::pausing:
      return text("SCAN_STATE_PAUSING");
    case ManualScanState::Phase::paused:
      return text("SCAN_STATE_PAUSED");
    case ManualScanState::Phase::stopping:
      return text("SCAN_STATE_STOPPING");
    default:
      return {};
  }
}

std::string ScanWords::progress(const ManualScanState& state) const {
  const ScanProgress& done = state.progress;
  if (state.all.isWhole && done.files() <= state.all.files) {
    return Wording{"SCAN_PROGRESS_OF",
                   {numberIn(strings_, done.files()), numberIn(strings_, state.all.files),
                    sizeText(done.bytes), sizeText(std::max(done.bytes, state.all.bytes))}}
        .in(strings_);
  }
  return Wording{"SCAN_PROGRESS", {numberIn(strings_, done.files()), sizeText(done.bytes)}}.in(
      strings_);
}

std::string ScanWords::timeLeft(const ManualScanState& state) const {
  if (!state.left || state.phase != ManualScanState::Phase::scanning) {
    return {};
  }
  const std::int64_t minutes = (state.left->count() + secondsOfAMinute - 1) / secondsOfAMinute;
  if (minutes <= 1) {
    return text("SCAN_LEFT_MINUTE");
  }
  return minutes < minutesBeforeHours
             ? Wording{"SCAN_LEFT_MINUTES", {std::to_string(minutes)}}.in(strings_)
             : Wording{"SCAN_LEFT_HOURS", {std::to_string((minutes + 30) / 60)}}.in(strings_);
}

std::string ScanWords::done(const ScanFinding& finding) const {
  switch (finding.done) {
    case ScanFinding::Done::moved:
      return finding.destination.empty()
                 ? text("SCAN_DONE_MOVED")
                 : Wording{"SCAN_DONE_MOVED_TO", {finding.destination}}.in(strings_);
    case ScanFinding::Done::notMoved:
      return Wording{"SCAN_DONE_NOT_MOVED", {finding.reason}}.in(strings_);
    case ScanFinding::Done::allowed:
      return text("SCAN_DONE_ALLOWED");
    case ScanFinding::Done::unknown:
      return text("SCAN_DONE_UNKNOWN");
    case ScanFinding::Done::clean:
      return text("SCAN_DONE_CLEAN");
    default:
      return text("SCAN_DONE_LEFT");
  }
}

std::vector<std::string> ScanWords::report(const ManualScanResult& result) const {
  std::vector<std::string> sentences;
  if (result.isStopped) {
    sentences.push_back(text("SCAN_REPORT_STOPPED"));
  }
  if (result.problem != ManualScanResult::Problem::none) {
    sentences.push_back(problem(result.problem));
  }
  if (result.lacksDefinitions) {
    sentences.push_back(text("SCAN_REPORT_NO_DEFINITIONS"));
  }
  sentences.push_back(result.found > 0 ? counted("SCAN_REPORT_FOUND", result.found)
                                       : text(result.isComplete() ? "SCAN_REPORT_NOTHING"
                                                                  : "SCAN_REPORT_NOTHING_SO_FAR"));
  if (result.allowed > 0) {
    sentences.push_back(counted("SCAN_REPORT_ALLOWED", result.allowed));
  }
  if (result.inQuarantine > 0) {
    sentences.push_back(counted("SCAN_REPORT_IN_QUARANTINE", result.inQuarantine));
  }
  if (result.clean) {
    sentences.push_back(counted("SCAN_REPORT_CLEAN", *result.clean));
  }
  if (result.notScanned > 0) {
    sentences.push_back(counted("SCAN_REPORT_NOT_SCANNED", result.notScanned));
  }
  if (!result.notReached) {
    sentences.push_back(text("SCAN_REPORT_NOT_REACHED_UNKNOWN"));
  } else if (*result.notReached > 0) {
    sentences.push_back(counted("SCAN_REPORT_NOT_REACHED", *result.notReached));
  }
  return sentences;
}

std::string ScanWords::problem(ManualScanResult::Problem problem) const {
  switch (problem) {
    case ManualScanResult::Problem::noEngine:
      return text("SCAN_PROBLEM_NO_ENGINE");
    case ManualScanResult::Problem::noDaemon:
      return text("SCAN_PROBLEM_NO_DAEMON");
    case ManualScanResult::Problem::noQuarantine:
      return text("SCAN_PROBLEM_NO_QUARANTINE");
    case ManualScanResult::Problem::tooMany:
      return text("SCAN_PROBLEM_TOO_MANY");
    case ManualScanResult::Problem::failed:
      return text("SCAN_PROBLEM_FAILED");
    default:
      return {};
  }
}

}  // namespace quillo
