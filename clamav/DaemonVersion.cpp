#include "clamav/DaemonVersion.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include "clamav/ControlSocket.h"

namespace quillo {
namespace {

constexpr std::size_t longestAnswer = 256;

// As ctime(3) writes it, whatever the language of the process.
std::optional<std::chrono::system_clock::time_point> timeIn(const std::string& text) {
  static constexpr std::array<std::string_view, 12> months = {
      "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::array<char, 4> month = {};
  std::tm time = {};
  if (std::sscanf(text.c_str(), "%*3s %3s %2d %2d:%2d:%2d %4d", month.data(), &time.tm_mday,
                  &time.tm_hour, &time.tm_min, &time.tm_sec, &time.tm_year) != 6) {
    return std::nullopt;
  }
  const auto* const found = std::find(months.begin(), months.end(), std::string_view(month.data()));
  if (found == months.end()) {
    return std::nullopt;
  }
  time.tm_mon = static_cast<int>(found - months.begin());
  time.tm_year -= 1900;
  time.tm_isdst = -1;
  const std::time_t seconds = std::mktime(&time);
  return seconds > 0 ? std::optional(std::chrono::system_clock::from_time_t(seconds))
                     : std::nullopt;
}

bool waitForData(int connection, std::chrono::steady_clock::time_point deadline) {
  for (;;) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd descriptor = {connection, POLLIN, 0};
    const int ready =
        poll(&descriptor, 1, static_cast<int>(std::max<std::int64_t>(0, left.count())));
    if (ready >= 0 || errno != EINTR) {
      return ready > 0;
    }
  }
}

}  // namespace

std::optional<DaemonVersion> parseDaemonVersion(std::string_view answer) {
  answer = answer.substr(0, answer.find_first_of(std::string_view("\0\n", 2)));
  if (!answer.starts_with("ClamAV ")) {
    return std::nullopt;
  }
  const std::size_t first = answer.find('/');
  DaemonVersion version{std::string(answer.substr(0, first)), std::nullopt};
  if (first == std::string_view::npos) {
    return version;
  }
  const std::size_t second = answer.find('/', first + 1);
  if (second == std::string_view::npos) {
    return std::nullopt;
  }
  version.definitions = timeIn(std::string(answer.substr(second + 1)));
  return version.definitions ? std::optional(version) : std::nullopt;
}

std::optional<DaemonVersion> askDaemonVersion(const std::string& socketPath,
                                              const std::vector<uid_t>& trusted,
                                              std::chrono::milliseconds patience) {
  const DaemonConnection connection = connectToDaemon(socketPath, trusted, patience);
  constexpr std::string_view question("zVERSION\0", 9);
  if (!connection.socket ||
      sendToDaemon(connection.socket.get(), question) != static_cast<ssize_t>(question.size())) {
    return std::nullopt;
  }
  const auto deadline = std::chrono::steady_clock::now() + patience;
  std::string answer;
  std::array<char, longestAnswer> piece;
  // The daemon closes the connection behind its answer.
  while (answer.size() < longestAnswer && answer.find('\0') == std::string::npos) {
    if (!waitForData(connection.socket.get(), deadline)) {
      return std::nullopt;
    }
    const ssize_t count = receiveFromDaemon(connection.socket.get(), piece.data(), piece.size());
    if (count <= 0) {
      break;
    }
    answer.append(piece.data(), static_cast<std::size_t>(count));
  }
  return parseDaemonVersion(answer);
}

}  // namespace quillo
