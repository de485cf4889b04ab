#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "posix/UniqueFd.h"

namespace quillo::tests {

// A process of the given user that shows a command line of the test's choice, as any user can have
// one (exec -a), and does nothing until the object goes. `program` has to wait for the end of its
// standard input without arguments, as cat(1) does.
class StandInProcess {
 public:
  StandInProcess(uid_t user, const std::string& program, std::vector<std::string> commandLine);
  ~StandInProcess();
  StandInProcess(const StandInProcess&) = delete;
  StandInProcess& operator=(const StandInProcess&) = delete;

 private:
  UniqueFd input_;
  pid_t process_ = -1;
};

}  // namespace quillo::tests
