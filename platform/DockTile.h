#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quillo {

// A line of the list of verdicts, in plain texts.
struct DockVerdict {
  std::string time;
  std::string file;
  std::string verdict;
  bool isThreat = false;

  bool operator==(const DockVerdict&) const = default;
};

// The window behind the entry in the task bar. Any thread; changes are shown soon, or once the
// application has been brought to the foreground.
class DockTile {
 public:
  static constexpr std::size_t keptVerdicts = 10;

  virtual ~DockTile() = default;
  // Shows what the agent is doing, in words.
  virtual void setState(const std::string& words) = 0;
  virtual void setWatchedFolders(const std::vector<std::string>& folders) = 0;
  // Lists a verdict above the earlier ones; the last `keptVerdicts` stay.
  virtual void addVerdict(const DockVerdict& verdict) = 0;
};

}  // namespace quillo
