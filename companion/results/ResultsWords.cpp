#include "companion/results/ResultsWords.h"

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
