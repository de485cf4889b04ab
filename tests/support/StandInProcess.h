#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "posix/UniqueFd.h"

namespace quillo {

// A process that shows a command line of the test's choice, as any user can have one (exec -a), and
// does nothing until the object goes.
class StandInProcess {
 public:
  // `path` has to wait for the end of its standard input: without arguments, as cat(1) does, or
  // because it knows QUILLO_STAND_IN, as the tests of processes do.
  struct Program {
    std::string path = "/proc/self/exe";
    uid_t user = geteuid();
  };

  explicit StandInProcess(std::vector<std::string> commandLine)
      : StandInProcess(std::move(commandLine), Program()) {}
  StandInProcess(std::vector<std::string> commandLine, const Program& program);
  ~StandInProcess();
  StandInProcess(const StandInProcess&) = delete;
  StandInProcess& operator=(const StandInProcess&) = delete;

  pid_t process() const { return process_; }

 private:
  UniqueFd input_;
  pid_t process_ = -1;
};

}  // namespace quillo
