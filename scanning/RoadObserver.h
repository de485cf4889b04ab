#pragma once

#include <string>
#include <vector>

namespace quillo {

// Is told of the stations that a file passes on its road to a verdict. Called from several threads,
// some of them with the queue's lock held: must be quick and must not call back.
class RoadObserver {
 public:
  virtual ~RoadObserver() = default;
  virtual void noticed(const std::string& path) = 0;
  virtual void becameStable(const std::string& path) = 0;
  virtual void scanStarted(const std::vector<std::string>& paths) = 0;
  virtual void scanEnded(const std::vector<std::string>& paths, int status) = 0;
  // Its user aborted the scans before it was judged.
  virtual void abandoned(const std::vector<std::string>& paths) = 0;
};

}  // namespace quillo
