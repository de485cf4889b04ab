#pragma once

#include <string>
#include <vector>

#include "benchmarks/support/Processes.h"
#include "posix/UniqueFd.h"

namespace bench {

// A file that was named in a log.
struct Sighting {
  std::string path;
  bool infected = false;
};

// Follows a log that names files, from where it ends when this is made. One thread.
class SightingLog {
 public:
  enum class Lines {
    verdicts,  // "PATH: OK" or "PATH: NAME FOUND", with or without something before it
    paths      // ends in the path
  };

  // Only what lies below `folder` counts.
  SightingLog(const std::string& log, Lines lines, const std::string& folder);

  // Waits until something was written, but no longer than that; returns what is new, which may be
  // nothing.
  std::vector<Sighting> next(Seconds patience);

 private:
  void read(std::vector<Sighting>& sightings);
  void take(const std::string& line, std::vector<Sighting>& sightings) const;

  const Lines lines_;
  const std::string below_;
  quillo::UniqueFd log_;
  std::string pending_;
};

}  // namespace bench
