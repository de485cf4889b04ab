#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace quillo::tests {

// What was saved, and what the agent has said of it since. One thread.
class Ledger {
 public:
  using Time = std::chrono::steady_clock::time_point;
  struct File {
    bool isInfected = false;
    bool isJudged = false;
    Time saved{};
  };

  // A file was written or came to lie there, and is to be judged from now on.
  void saved(const std::string& path, bool isInfected);
  void gone(const std::string& path) { files_.erase(path); }
  // A folder lies elsewhere now, with all that is in it.
  void moved(const std::string& from, const std::string& to);
  void folderGone(const std::string& folder);
  // Takes a line of the scan log.
  void hear(const std::string& line);

  const std::map<std::string, File>& files() const { return files_; }
  bool isInfected(const std::string& path) const;
  std::vector<std::string> unjudged() const;
  std::size_t everSaved() const { return everSaved_; }
  std::size_t verdicts() const { return verdicts_; }
  std::size_t finds() const { return finds_; }
  // Lines that say "Not scanned", which a verdict may follow.
  std::size_t notScanned() const { return notScanned_; }
  // Of all files that kept still until then.
  std::chrono::duration<double> longestWait() const { return longestWait_; }
  const std::string& waitedLongest() const { return waitedLongest_; }

 private:
  using Files = std::map<std::string, File>;
  std::vector<std::string> within(const std::string& folder) const;

  Files files_;
  std::size_t everSaved_ = 0;
  std::size_t verdicts_ = 0;
  std::size_t finds_ = 0;
  std::size_t notScanned_ = 0;
  std::chrono::duration<double> longestWait_{0};
  std::string waitedLongest_;
};

}  // namespace quillo::tests
