#include "watchers/LastWatched.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "posix/FileFacts.h"
#include "posix/OwnFile.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::string_view header = "vantrel-quillo last-watched 1\n";
constexpr std::size_t longest = 100;
// Beyond any clock, and far from what a time_point can hold.
constexpr std::int64_t mostSeconds = 8'000'000'000;

}  // namespace

std::optional<LastWatched::Time> LastWatched::read(Time now, std::string& problem) const {
  const auto text = contentsOfRegularFile(path(), Links::refused, longest);
  if (!text) {
    problem = errno == ENOENT ? "nothing is kept of it" : path() + ": " + std::strerror(errno);
    return std::nullopt;
  }
  const bool isOurs = text->starts_with(header) && text->ends_with('\n');
  const auto seconds =
      isOurs ? numberIn<std::int64_t>(trimmed(std::string_view(*text).substr(header.size())))
             : std::nullopt;
  if (!seconds || *seconds < 0 || *seconds > mostSeconds) {
    problem = path() + " is damaged";
    return std::nullopt;
  }
  const Time moment{std::chrono::seconds(*seconds)};
  if (moment > now) {
    problem = "the clock was set back since";
    return std::nullopt;
  }
  return moment;
}

std::string LastWatched::write(Time moment) const {
  if (const int error = makeFolders(folder_); error != 0) {
    return folder_ + " cannot be made: " + std::strerror(error);
  }
  const auto seconds = std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch().count();
  const std::string fresh = path() + ".new";
  std::string problem =
      writeOwnFile("The file", fresh, std::string(header) + std::to_string(seconds) + "\n");
  if (problem.empty() && std::rename(fresh.c_str(), path().c_str()) != 0) {
    problem = path() + " cannot be replaced: " + std::strerror(errno);
    unlink(fresh.c_str());
  }
  return problem;
}

void LastWatched::forget() const { unlink(path().c_str()); }

}  // namespace quillo
