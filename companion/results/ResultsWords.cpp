#include "companion/results/ResultsWords.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <ctime>

#include "companion/Counting.h"
#include "platform/LocalizedStrings.h"
#include "posix/Accounts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::uint64_t sizeStep = 1000;
// Of what was scanned; the others are in its report.
constexpr std::size_t mostPlaces = 3;

using Kind = HistoryResult::Kind;
using Outcome = HistoryResult::Outcome;

std::string timeIn(WallTime time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm local = {};
  char buffer[32] = "";
  if (localtime_r(&seconds, &local)) {
    std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M", &local);
  }
  return buffer;
}

std::string dayIn(CalendarDay day) {
  const auto two = [](int number) { return (number < 10 ? "-0" : "-") + std::to_string(number); };
  return std::to_string(day / 10000) + two(day / 100 % 100) + two(day % 100);
}

TableRows::Sign signOf(const HistoryResult& result) {
  if (result.kind == Kind::notScanned) {
    return TableRows::Sign::warning;
  }
  const bool isAway = result.outcome == Outcome::quarantined ||
                      result.outcome == Outcome::trashed || result.outcome == Outcome::selfTest;
  return isAway ? TableRows::Sign::good : TableRows::Sign::threat;
}

const char* keyOf(ScanRun::End end) {
  switch (end) {
    case ScanRun::End::whole:
      return "RESULTS_SCAN_WHOLE";
    case ScanRun::End::stopped:
      return "RESULTS_SCAN_STOPPED";
    case ScanRun::End::noEngine:
      return "RESULTS_SCAN_NO_ENGINE";
    case ScanRun::End::noDaemon:
      return "RESULTS_SCAN_NO_DAEMON";
    case ScanRun::End::noQuarantine:
      return "RESULTS_SCAN_NO_QUARANTINE";
    case ScanRun::End::tooMany:
      return "RESULTS_SCAN_TOO_MANY";
    case ScanRun::End::noDefinitions:
      return "RESULTS_SCAN_NO_DEFINITIONS";
    case ScanRun::End::failed:
      break;
  }
  return "RESULTS_SCAN_FAILED";
}

TableRows::Sign signOf(const ScanRun& run) {
  if (run.found > 0) {
    return TableRows::Sign::threat;
  }
  const bool isWhole = run.ended && run.end == ScanRun::End::whole && run.notScanned == 0;
  return isWhole ? TableRows::Sign::good : TableRows::Sign::warning;
}

}  // namespace

std::string ResultsWords::text(const std::string& key) const {
  return strings_.stringForKey(key, "");
}

std::string ResultsWords::counted(const std::string& key, std::uint64_t count) const {
  return countedIn(strings_, key, count);
}

// At least two digits, where there are as many.
std::string ResultsWords::size(std::uint64_t bytes) const {
  static constexpr std::array<const char*, 4> units = {"SIZE_BYTES", "SIZE_KB", "SIZE_MB",
                                                       "SIZE_GB"};
  std::size_t unit = 0;
  while (unit + 1 < units.size() && bytes >= 10 * sizeStep) {
    bytes = (bytes + sizeStep / 2) / sizeStep;
    ++unit;
  }
  return Wording{units[unit], {numberIn(strings_, bytes)}}.in(strings_);
}

std::string ResultsWords::place(const std::string& path) const {
  return abbreviatingWithTilde(path, home_);
}

std::vector<std::string> ResultsWords::resultTitles() const {
  return {text("RESULTS_COLUMN_TIME"),    text("RESULTS_COLUMN_FILE"),
          text("RESULTS_COLUMN_FOLDER"),  text("RESULTS_COLUMN_FINDING"),
          text("RESULTS_COLUMN_OUTCOME"), text("RESULTS_COLUMN_SOURCE")};
}

TableRows::Row ResultsWords::row(const HistoryResult& result) const {
  if (result.path.empty() && result.unnamed == 0) {
    // Too old to be kept by now.
    return {std::vector<std::string>(resultTitles().size()), TableRows::Sign::none};
  }
  static constexpr std::array<const char*, 3> sources = {
      "RESULTS_SOURCE_AGENT", "RESULTS_SOURCE_BY_HAND", "RESULTS_SOURCE_PLANNED"};
  const bool isNamed = !result.path.empty();
  return {{timeIn(result.time),
           isNamed ? std::string(lastPathComponent(result.path))
                   : counted("RESULTS_UNNAMED", result.unnamed),
           isNamed ? place(deletingLastPathComponent(result.path)) : "", result.says, done(result),
           text(sources[static_cast<std::size_t>(result.source)])},
          signOf(result)};
}

std::string ResultsWords::done(const HistoryResult& result) const {
  if (result.kind == Kind::notScanned) {
    return text("RESULTS_DONE_NOT_SCANNED");
  }
  switch (result.outcome) {
    case Outcome::leftInPlace:
      return text("RESULTS_DONE_LEFT");
    case Outcome::quarantined:
      return text("RESULTS_DONE_QUARANTINED");
    case Outcome::trashed:
      return text("RESULTS_DONE_TRASHED");
    case Outcome::notMoved:
      return result.detail.empty()
                 ? text("RESULTS_DONE_NOT_MOVED")
                 : Wording{"RESULTS_DONE_NOT_MOVED_REASON", {result.detail}}.in(strings_);
    case Outcome::selfTest:
      return text("RESULTS_DONE_SELF_TEST");
    case Outcome::unsaid:
      break;
  }
  return text("RESULTS_DONE_UNKNOWN");
}

std::vector<std::string> ResultsWords::scanTitles() const {
  return {text("RESULTS_COLUMN_STARTED"),  text("RESULTS_COLUMN_SCANNED"),
          text("RESULTS_COLUMN_ENDED"),    text("RESULTS_COLUMN_CLEAN"),
          text("RESULTS_COLUMN_FOUND"),    text("RESULTS_COLUMN_LEFT_OUT"),
          text("RESULTS_COLUMN_DURATION"), text("RESULTS_COLUMN_SCAN")};
}

TableRows::Row ResultsWords::row(const ScanRun& run) const {
  if (run.id == 0) {
    // Too old to be kept by now.
    return {std::vector<std::string>(scanTitles().size()), TableRows::Sign::none};
  }
  const std::string kind =
      text(run.source == ScanSource::planned ? "RESULTS_SOURCE_PLANNED" : "RESULTS_SOURCE_BY_HAND");
  if (!run.ended) {
    // What it came to is entered at its end.
    return {
        {timeIn(run.started), places(run.paths), text("RESULTS_SCAN_NO_END"), "", "", "", "", kind},
        TableRows::Sign::none};
  }
  return {
      {timeIn(run.started), places(run.paths), text(keyOf(run.end)),
       run.clean ? numberIn(strings_, *run.clean) : text("RESULTS_SCAN_NOT_COUNTED"),
       numberIn(strings_, run.found), numberIn(strings_, run.notScanned),
       duration(std::chrono::duration_cast<std::chrono::seconds>(*run.ended - run.started)), kind},
      signOf(run)};
}

std::string ResultsWords::ofScan(const ScanRun& run) const {
  return Wording{"RESULTS_OF_SCAN", {timeIn(run.started), places(run.paths)}}.in(strings_);
}

std::string ResultsWords::places(const std::vector<std::string>& paths) const {
  std::string all;
  for (std::size_t at = 0; at < std::min(paths.size(), mostPlaces); ++at) {
    all += (at > 0 ? ", " : "") + place(paths[at]);
  }
  return all + (paths.size() > mostPlaces ? ", …" : "");
}

// None where the clock was set back meanwhile.
std::string ResultsWords::duration(std::chrono::seconds length) const {
  constexpr std::int64_t step = 60;
  const std::int64_t seconds = std::max<std::int64_t>(length.count(), 0);
  const std::int64_t minutes = seconds / step;
  const auto words = [this](const char* key, std::int64_t large, std::int64_t small) {
    return Wording{key, {std::to_string(large), std::to_string(small)}}.in(strings_);
  };
  if (minutes == 0) {
    return Wording{"RESULTS_SECONDS", {std::to_string(seconds)}}.in(strings_);
  }
  return minutes < step ? words("RESULTS_MINUTES", minutes, seconds % step)
                        : words("RESULTS_HOURS", minutes / step, minutes % step);
}

std::vector<std::string> ResultsWords::busyTitles() const {
  return {text("RESULTS_COLUMN_DAY"), text("RESULTS_COLUMN_FOLDER"), text("RESULTS_COLUMN_FILES"),
          text("RESULTS_COLUMN_SIZE")};
}

TableRows::Row ResultsWords::row(const BusyFolder& folder) const {
  return {{folder.day == 0 ? "" : dayIn(folder.day), place(folder.folder),
           numberIn(strings_, folder.amount.files), size(folder.amount.bytes)},
          TableRows::Sign::none};
}

std::string ResultsWords::none(const std::optional<WallTime>& beginning) const {
  return beginning ? Wording{"RESULTS_NONE_SINCE", {dayText(*beginning)}}.in(strings_)
                   : text("RESULTS_NONE_YET");
}

std::string ResultsWords::problem(HistoryReader::State state, const std::string& reason) const {
  switch (state) {
    case HistoryReader::State::missing:
      return text("RESULTS_NO_HISTORY");
    case HistoryReader::State::newer:
      return text("RESULTS_NEWER");
    case HistoryReader::State::broken:
      return Wording{"RESULTS_BROKEN", {reason}}.in(strings_);
    case HistoryReader::State::unreadable:
      return Wording{"RESULTS_UNREADABLE", {reason}}.in(strings_);
    case HistoryReader::State::good:
      break;
  }
  return "";
}

}  // namespace quillo
