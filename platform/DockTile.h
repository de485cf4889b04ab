#pragma once

#include <string>
#include <vector>

namespace quillo {

// What the window behind the entry in the task bar tells, in plain texts. Any thread; shown soon.
class DockTile {
 public:
  virtual ~DockTile() = default;
  // What the agent is doing, in words.
  virtual void setState(const std::string& words) = 0;
  virtual void setWatchedFolders(const std::vector<std::string>& folders) = 0;
  // A verdict on a file, above the earlier ones; the oldest of many are forgotten.
  virtual void addVerdict(const std::string& line) = 0;
};

}  // namespace quillo
