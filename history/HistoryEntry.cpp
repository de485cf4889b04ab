#include "history/HistoryEntry.h"

#include <sys/random.h>

#include <ctime>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr int levelsCounted = 3;

}  // namespace

std::int64_t makeRunId() {
  std::uint64_t random = 0;
  if (getrandom(&random, sizeof random, 0) != static_cast<ssize_t>(sizeof random)) {
    random =
        static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
  }
  const auto id = static_cast<std::int64_t>(random >> 1U);
  return id == 0 ? 1 : id;
}

CalendarDay calendarDayOf(WallTime time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm local = {};
  return localtime_r(&seconds, &local)
             ? (local.tm_year + 1900) * 10000 + (local.tm_mon + 1) * 100 + local.tm_mday
             : 0;
}

std::string countedFolderOf(std::string_view path, std::string_view home) {
  std::size_t start = 0;
  if (home.size() > 1 && liesBelow(path, home)) {
    start = home.size();
  }
  // `end` is where the folder ends: before its file's name, or at the last level that counts.
  std::size_t end = start;
  for (int level = 0; level < levelsCounted; ++level) {
    const std::size_t slash = path.find('/', end + 1);
    if (slash == std::string_view::npos) {
      break;
    }
    end = slash;
  }
  return end == 0 ? "/" : std::string(path.substr(0, end));
}

}  // namespace quillo
