#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace quillo {

// The moment up to which everything that happened in the watched folders is known, kept in a file
// for the next start of watching. Calls are made one at a time.
class LastWatched {
 public:
  using Time = std::chrono::system_clock::time_point;

  // `folder` is made when it is missing.
  explicit LastWatched(std::string folder) : folder_(std::move(folder)) {}

  // Returns the moment, to the second; nothing when it is not known, with the reason in `problem`:
  // a moment that is still to come is none, for the clock was set back since.
  std::optional<Time> read(Time now, std::string& problem) const;
  // Replaces the file as a whole; never follows a link of its name. Returns what went wrong in
  // words, or "".
  std::string write(Time moment) const;
  void forget() const;

 private:
  std::string path() const { return folder_ + "/last-watched"; }

  const std::string folder_;
};

}  // namespace quillo
