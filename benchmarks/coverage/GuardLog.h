#pragma once

#include <functional>
#include <set>
#include <string>

#include "benchmarks/support/Processes.h"

namespace bench {

// The log in which a guard names what it found: lines that end in " FOUND". One thread.
class GuardLog {
 public:
  explicit GuardLog(std::string path) : path_(std::move(path)) {}

  const std::string& path() const { return path_; }
  std::string read() const;
  // Those of the names that it holds as something found.
  std::set<std::string> found(const std::set<std::string>& names) const;

  // Waits until `holds`, asked whenever the log has changed, or for that long. Returns what it said
  // last.
  bool await(const std::function<bool()>& holds, Seconds patience) const;
  void letPass(Seconds time) const {
    await([] { return false; }, time);
  }

 private:
  std::string path_;
};

}  // namespace bench
