#include "benchmarks/support/SightingLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "benchmarks/support/Pause.h"

namespace bench {

SightingLog::SightingLog(const std::string& log, Lines lines, const std::string& folder)
    : lines_(lines), below_(folder + "/"), log_(open(log.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (!log_ || lseek(log_.get(), 0, SEEK_END) < 0) {
    throw std::runtime_error("cannot follow " + log);
  }
}

// Looks now and then: to wake somebody for each line costs who writes it more than the line does.
std::vector<Sighting> SightingLog::next(Seconds patience) {
  constexpr Seconds betweenLooks(0.005);
  std::vector<Sighting> sightings;
  const Seconds deadline = now() + patience;
  for (;;) {
    read(sightings);
    const Seconds left = deadline - now();
    if (!sightings.empty() || left.count() <= 0) {
      return sightings;
    }
    pauseFor(std::min(left, betweenLooks));
  }
}

void SightingLog::read(std::vector<Sighting>& sightings) {
  constexpr std::size_t most = 256UL * 1024;
  std::string chunk(most, '\0');
  ssize_t count = 0;
  while ((count = quillo::readSome(log_.get(), chunk.data(), chunk.size())) > 0) {
    pending_.append(chunk, 0, static_cast<std::size_t>(count));
  }
  const std::size_t end = pending_.rfind('\n') + 1;
  std::istringstream lines(pending_.substr(0, end));
  pending_.erase(0, end);
  for (std::string line; std::getline(lines, line);) {
    take(line, sightings);
  }
}

void SightingLog::take(const std::string& line, std::vector<Sighting>& sightings) const {
  const std::size_t begin = line.find(below_);
  if (begin == std::string::npos) {
    return;
  }
  if (lines_ == Lines::paths) {
    sightings.push_back({line.substr(begin), false});
    return;
  }
  const bool isInfected = line.ends_with(" FOUND");
  const std::size_t end = line.rfind(": ");
  if ((isInfected || line.ends_with(": OK")) && end != std::string::npos && end > begin) {
    sightings.push_back({line.substr(begin, end - begin), isInfected});
  }
}

}  // namespace bench
