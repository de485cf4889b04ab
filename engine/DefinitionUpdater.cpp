#include "engine/DefinitionUpdater.h"

#include <algorithm>
#include <array>
#include <utility>

#include "posix/Text.h"
#include "settings/WatchSettings.h"

namespace quillo {
namespace {

// freshclam's exit statuses.
constexpr int notInitialized = 2;
constexpr int noConnection = 5;
constexpr int folderNotWritable = 10;
constexpr int failedToGet = 11;
constexpr int loggingFailed = 13;
constexpr int forbidden = 17;
constexpr int retryLater = 18;

// More than a bar and the beginning of the next take.
constexpr std::size_t longestBars = 1024;
constexpr std::uint32_t mostUnits = 1000000;

bool holds(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

bool failedToConnect(std::string_view output) {
  return holds(output, "Couldn't connect") || holds(output, "Couldn't resolve") ||
         holds(output, "Could not resolve") || holds(output, "Timeout was reached");
}

// "552.52KiB"
std::optional<std::uint64_t> bytesIn(std::string_view text) {
  static constexpr std::array<std::pair<std::string_view, std::uint64_t>, 4> units = {
      {{"GiB", 1ULL << 30U}, {"MiB", 1ULL << 20U}, {"KiB", 1ULL << 10U}, {"B", 1}}};
  for (const auto& [unit, factor] : units) {
    if (!text.ends_with(unit)) {
      continue;
    }
    const auto parts = split(trimmed(text.substr(0, text.size() - unit.size())), '.');
    const auto whole = numberIn<std::uint32_t>(parts.front());
    const bool hasPart = parts.size() == 2 && parts.back().size() == 2;
    const auto hundredths = hasPart ? numberIn<std::uint32_t>(parts.back()) : std::nullopt;
    if (!whole || *whole > mostUnits || (parts.size() > 1 && !hundredths)) {
      return std::nullopt;
    }
    return *whole * factor + hundredths.value_or(0) * factor / 100;
  }
  return std::nullopt;
}

}  // namespace

LaunchRequest definitionUpdateRequest(const WatchSettings& settings) {
  LaunchRequest request{settings.freshclamPATH.value_or("")};
  if (settings.updateLog) {
    request.arguments.push_back("--log=" + *settings.updateLog);
  }
  if (settings.needsExit1FreshclamFlag) {
    request.arguments.emplace_back("--on-update-execute=EXIT_1");
  }
  request.output = LaunchRequest::Output::discardedStdout;
  return request;
}

UpdateResult updateResultOf(int status, bool exit1MeansUpdated, std::string_view output) {
  if (status == 0 || status == 1) {
    // Without that argument 1.4 ends with 0 either way, and only its words tell.
    const bool saysNeedless = holds(output, "up-to-date") && !holds(output, " updated (version");
    const bool updated = status == (exit1MeansUpdated ? 1 : 0) && !saysNeedless;
    return updated ? UpdateResult::updated : UpdateResult::upToDate;
  }
  if ((status == notInitialized || status == loggingFailed) &&
      holds(output, "Failed to lock the log file")) {
    return UpdateResult::locked;
  }
  if (status == folderNotWritable) {
    return holds(output, "only an administrator") ? UpdateResult::machineOnly
                                                  : UpdateResult::notWritable;
  }
  if (status == retryLater || (status == forbidden && holds(output, "cool-down"))) {
    return UpdateResult::coolDown;
  }
  if (status == forbidden) {
    return UpdateResult::refused;
  }
  if (status == noConnection || status == failedToGet || failedToConnect(output)) {
    return UpdateResult::offline;
  }
  return UpdateResult::failed;
}

// "Time:    0.3s, ETA:    1.2s [====>         ]    1.08MiB/5.40MiB", with a carriage return behind
// each but the last.
std::optional<UpdateProgress> updateProgressIn(std::string_view output) {
  output.remove_prefix(output.size() - std::min(output.size(), longestBars));
  for (std::size_t at = output.rfind(']'); at != std::string_view::npos && at > 0;
       at = output.rfind(']', at - 1)) {
    const std::string_view rest = output.substr(at + 1);
    const std::size_t end = rest.find_first_of("\r\n");
    const std::size_t slash = rest.find('/');
    if (end == std::string_view::npos || slash >= end) {
      continue;
    }
    const auto done = bytesIn(trimmed(rest.substr(0, slash)));
    const auto all = bytesIn(trimmed(rest.substr(slash + 1, end - slash - 1)));
    if (done && all && *done <= *all) {
      return UpdateProgress{*done, *all};
    }
  }
  return std::nullopt;
}

}  // namespace quillo
