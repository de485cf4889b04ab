#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <string>
#include <vector>

#include "tests/root/support/world/Lines.h"

namespace quillo::tests {

constexpr uid_t ordinaryUser = 12345;
constexpr uid_t otherUser = 12346;

// How a process ended and what it cost.
struct Ending {
  int status = -1;  // as wait(2) gives it
  rusage usage{};
};

// A process of an ordinary user that starts the helper as the agent does, and does what it is
// asked.
class StandInAgent {
 public:
  struct Options {
    std::string program;
    std::vector<std::string> arguments;
    std::vector<std::string> environment;
    uid_t user = ordinaryUser;
    std::vector<gid_t> groups;
    std::string root;    // the agent's root folder, if it is not /
    std::string log;     // opened as the agent's standard output
    int inherited = -1;  // given to the program under this number too
    bool noNewPrivileges = false;
  };

  explicit StandInAgent(const Options& options);
  ~StandInAgent();
  StandInAgent(const StandInAgent&) = delete;
  StandInAgent& operator=(const StandInAgent&) = delete;

  pid_t id() const { return agent_; }
  pid_t helper() const { return helper_; }
  // What the helper prints, and what it says on standard error.
  Lines& output() { return output_; }
  Lines& errors() { return errors_; }

  // The agent appends to a file (an empty path means its own standard output).
  void append(const std::string& path);
  // The agent opens its standard output again, as after a rotation of the log.
  void reopenLog();
  // The agent sends the helper a signal; false if it may not.
  bool signalHelper(int number);
  // Waits for the helper's end.
  Ending reap();
  // Kills the agent itself.
  void kill();

 private:
  std::string ask(const std::string& command);

  int control_ = -1;
  pid_t agent_ = -1;
  pid_t helper_ = -1;
  Lines output_;
  Lines errors_;
};

}  // namespace quillo::tests
