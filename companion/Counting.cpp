#include "companion/Counting.h"

#include <algorithm>
#include <ctime>

#include "platform/LocalizedStrings.h"

namespace quillo {
namespace {

std::string formatted(const std::tm& time, const char* format) {
  char buffer[32] = "";
  std::strftime(buffer, sizeof buffer, format, &time);
  return buffer;
}

}  // namespace

std::string countedIn(LocalizedStrings& strings, const std::string& key, std::uint64_t number,
                      const std::vector<std::string>& more) {
  if (number == 1) {
    return Wording{key + "_ONE", more}.in(strings);
  }
  std::vector<std::string> values = {numberIn(strings, number)};
  values.insert(values.end(), more.begin(), more.end());
  return Wording{key + "_MANY", values}.in(strings);
}

std::string momentText(std::int64_t seconds, std::chrono::system_clock::time_point now) {
  const auto moment = static_cast<std::time_t>(seconds);
  const std::time_t today = std::chrono::system_clock::to_time_t(now);
  std::tm local = {};
  std::tm localNow = {};
  if (!localtime_r(&moment, &local) || !localtime_r(&today, &localNow)) {
    return "";
  }
  const bool isToday = local.tm_year == localNow.tm_year && local.tm_yday == localNow.tm_yday;
  return formatted(local, isToday ? "%H:%M" : "%Y-%m-%d %H:%M");
}

std::string dayText(std::chrono::system_clock::time_point moment) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
  std::tm local = {};
  return localtime_r(&seconds, &local) ? formatted(local, "%Y-%m-%d") : "";
}

std::uint64_t daysSince(std::int64_t seconds, std::chrono::system_clock::time_point now) {
  const std::chrono::system_clock::time_point then{std::chrono::seconds(seconds)};
  const auto hours = std::chrono::duration_cast<std::chrono::hours>(now - then).count();
  return static_cast<std::uint64_t>(std::max<std::int64_t>(hours, 0) / 24);
}

}  // namespace quillo
