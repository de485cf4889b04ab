#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "posix/Clock.h"
#include "posix/UniqueFd.h"

namespace quillo::front {

struct ClientRequest {
  std::string program;
  std::vector<std::string> arguments;
  int standardInput = -1;    // the null device if there is none
  int descriptorThree = -1;  // seen by the client as number 3
};

struct ClientEnd {
  enum class How { exited, signalled, stalled, notStarted };
  How how = How::notStarted;
  int code = 0;  // the exit status, the signal's number or the errno
};

// Runs the real client and reads its report, standard output and standard error together, line by
// line. The client dies with the thread that runs it. posix_spawn(3) has no way to ask for that, so
// this forks. One thread.
class ClientRun {
 public:
  struct Handlers {
    std::function<void(std::string_view line)> line;
    std::function<void()> pause;  // all lines that had come are handled
  };

  // A client that neither says nor does anything for `patience` is ended with SIGKILL.
  ClientRun(Clock& clock, Clock::Duration patience) : clock_(clock), patience_(patience) {}

  ClientEnd run(const ClientRequest& request, const Handlers& handlers);

 private:
  void read(pid_t child, int pidfd, int output, const Handlers& handlers, bool& stalled);

  Clock& clock_;
  Clock::Duration patience_;
};

}  // namespace quillo::front
