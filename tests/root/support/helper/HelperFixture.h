#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <memory>
#include <string>

#include "tests/root/support/helper/StandInAgent.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {

// A file of /proc/PID.
std::string fileOf(pid_t process, const std::string& name);
// The value of a line of /proc/PID/status; "none" if there is no such line.
std::string statusOf(pid_t process, const std::string& key);
// The process that marks, a child of the helper.
pid_t markerOf(pid_t helper);

// A test of the real helper, set-user-ID root, started by an ordinary user's process. It has a file
// system of its own at folder(), where everybody may write.
class HelperFixture : public testing::Test {
 protected:
  HelperFixture();

  const std::string& folder() const { return folder_; }
  std::string in(const std::string& name) const { return folder_ + "/" + name; }

  // The set-user-ID copy of the helper.
  const std::string& program() const { return program_; }
  StandInAgent::Options options() const;

  // Starts the helper and waits until it watches folder(), or another one that it sees.
  StandInAgent& start() { return start(options()); }
  StandInAgent& start(const StandInAgent::Options& options) { return start(options, folder_); }
  StandInAgent& start(const StandInAgent::Options& options, const std::string& where);
  StandInAgent& agent() { return *agent_; }
  Lines& output() { return agent_->output(); }

  // Waits until all that happened in `where` before has been reported, by making a file there and
  // waiting for its line; false if that line does not come.
  bool catchUp() { return catchUp(folder_); }
  bool catchUp(const std::string& where);
  // As catchUp(), for a place that may not be watched yet: makes files until one is reported.
  bool waitUntilWatched(const std::string& where);
  // How the helper calls a path: another way only if its root folder is another.
  std::string reported(const std::string& path) const { return path.substr(root_.size()); }

 private:
  FolderOfMounts world_;
  std::string folder_;
  std::string program_;
  std::string root_;
  std::unique_ptr<StandInAgent> agent_;
  int sentinels_ = 0;
};

}  // namespace quillo::tests
