#pragma once

#include <string>
#include <vector>

#include "benchmarks/support/Processes.h"

namespace bench {

// The daemon that everything but the agent is given: the agent's own program, definitions and
// limits, but started by root for the account that Debian has for it, at a socket for everyone.
// Never runs beside the agent's.
class PeerDaemon {
 public:
  // `tree`: an engine tree that the agent has started its daemon from once; `root`: a folder for
  // what this needs. Throws std::runtime_error.
  PeerDaemon(const std::string& tree, const std::string& root);

  // Returns when it answers; throws std::runtime_error.
  void start();
  void stop();

  const std::string& configuration() const { return configuration_; }
  const std::string& socket() const { return socket_; }
  const std::string& folder() const { return folder_; }
  // Writes a configuration with these lines added, and returns where it lies.
  std::string configurationWith(const std::string& name, const std::string& lines) const;

 private:
  const std::string folder_;
  const std::string socket_;
  const std::string configuration_;
  pid_t pid_ = -1;
};

}  // namespace bench
