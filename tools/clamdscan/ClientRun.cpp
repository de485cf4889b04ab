#include "tools/clamdscan/ClientRun.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <utility>

// glibc 2.36 declares pidfd_open without C linkage.
extern "C" {
#include <sys/pidfd.h>
}

namespace quillo::front {
namespace {

constexpr std::size_t longestLine = 1U << 20U;

// Gathers bytes into lines.
class LineSplitter {
 public:
  void take(std::string_view bytes, const std::function<void(std::string_view)>& line) {
    held_ += bytes;
    std::size_t start = 0;
    for (std::size_t end = held_.find('\n'); end != std::string::npos;
         end = held_.find('\n', start)) {
      line(std::string_view(held_).substr(start, end - start));
      start = end + 1;
    }
    held_.erase(0, start);
    if (held_.size() > longestLine) {
      finish(line);
    }
  }

  void finish(const std::function<void(std::string_view)>& line) {
    if (!held_.empty()) {
      line(held_);
      held_.clear();
    }
  }

 private:
  std::string held_;
};

struct Ends {
  UniqueFd reader;
  UniqueFd writer;
};

Ends makePipe() {
  int ends[2] = {-1, -1};
  if (pipe2(ends, O_CLOEXEC) != 0) {
    return {};
  }
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

// In the child, after fork: only what signal-safety(7) allows.
struct ChildSetup {
  const char* program;
  char* const* arguments;
  int input;
  int output;
  int three;
  int failure;
  pid_t parent;

  [[noreturn]] void start() const {
    // A parent that died before the signal was asked for sends none.
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent && arrange()) {
      execv(program, arguments);
    }
    const int reason = errno;
    [[maybe_unused]] const ssize_t sent = write(failure, &reason, sizeof(reason));
    _exit(127);
  }

  // The descriptors that it gets are above 3, so that none is overwritten before it is used.
  bool arrange() const {
    return dup2(input, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0 &&
           dup2(output, STDERR_FILENO) >= 0 && (three < 0 || dup2(three, 3) >= 0);
  }
};

UniqueFd above3(int descriptor) { return UniqueFd(fcntl(descriptor, F_DUPFD_CLOEXEC, 4)); }

// How often the process has been put to work: it moves on when the client does anything at all,
// also where that leaves no trace in its output (clean files in a folder).
std::uint64_t contextSwitches(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/status");
  std::uint64_t sum = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.find("ctxt_switches:") != std::string::npos) {
      sum += std::strtoull(line.c_str() + line.find(':') + 1, nullptr, 10);
    }
  }
  return sum;
}

// How long a client may be silent and idle. Looks at it now and then while it says nothing.
class Patience {
 public:
  Patience(Clock& clock, Clock::Duration length, pid_t client)
      : clock_(clock), length_(length), client_(client), deadline_(clock.now() + length) {}

  void renew() {
    deadline_ = clock_.now() + length_;
    looked_ = false;
  }

  // Milliseconds, for poll(2).
  int nextLook() {
    const Clock::Duration left = std::min(deadline_ - clock_.now(), length_ / 5);
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return static_cast<int>(std::clamp<std::int64_t>(wait, 0, 60000));
  }

  bool isOver() {
    const std::uint64_t switches = contextSwitches(client_);
    if (looked_ && switches != seen_) {
      deadline_ = clock_.now() + length_;
    }
    looked_ = true;
    seen_ = switches;
    return clock_.now() >= deadline_;
  }

 private:
  Clock& clock_;
  Clock::Duration length_;
  pid_t client_;
  Clock::Duration deadline_;
  bool looked_ = false;
  std::uint64_t seen_ = 0;
};

// The client writes each line by itself. Taking them one by one would cost two programs a wake-up
// for each, so they gather for a moment, unless the client ends.
void letLinesGather(int pidfd) {
  constexpr int moment = 10;  // ms
  pollfd client = {pidfd, POLLIN, 0};
  poll(&client, 1, moment);
}

struct Running {
  pid_t process = -1;
  UniqueFd pidfd;
  UniqueFd output;
};

int reap(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

// 0 once the client's program runs in the child, else an errno, and the child is gone.
int confirmStart(Running& client, int failure) {
  int error = 0;
  const bool failed = read(failure, &error, sizeof(error)) == sizeof(error);
  client.pidfd.reset(pidfd_open(client.process, 0));
  if (!failed && client.pidfd) {
    return 0;
  }
  error = failed ? error : errno;
  kill(client.process, SIGKILL);
  reap(client.process);
  return error;
}

// 0 or an errno.
int launch(const ClientRequest& request, Running& client) {
  std::vector<std::string> words = {request.program};
  words.insert(words.end(), request.arguments.begin(), request.arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);

  const UniqueFd null(open("/dev/null", O_RDONLY | O_CLOEXEC));
  Ends output = makePipe();
  Ends failure = makePipe();
  const UniqueFd input = above3(request.standardInput >= 0 ? request.standardInput : null.get());
  UniqueFd report = above3(std::exchange(output.writer, UniqueFd()).get());
  UniqueFd complaint = above3(std::exchange(failure.writer, UniqueFd()).get());
  const UniqueFd three = request.descriptorThree < 0 ? UniqueFd() : above3(request.descriptorThree);
  if (!input || !report || !complaint || (request.descriptorThree >= 0 && !three)) {
    return errno;
  }
  const ChildSetup setup = {
      request.program.c_str(), argv.data(), input.get(), report.get(), three.get(),
      complaint.get(),         getpid()};
  client.process = fork();
  if (client.process == 0) {
    setup.start();
  }
  if (client.process < 0) {
    return errno;
  }
  report.reset();
  complaint.reset();
  client.output = std::move(output.reader);
  return confirmStart(client, failure.reader.get());
}

ClientEnd ended(int status, bool stalled) {
  if (stalled) {
    return {ClientEnd::How::stalled, 0};
  }
  if (WIFSIGNALED(status)) {
    return {ClientEnd::How::signalled, WTERMSIG(status)};
  }
  return {ClientEnd::How::exited, WEXITSTATUS(status)};
}

}  // namespace

ClientEnd ClientRun::run(const ClientRequest& request, const Handlers& handlers) {
  Running client;
  if (const int error = launch(request, client); error != 0) {
    return {ClientEnd::How::notStarted, error};
  }
  bool stalled = false;
  read(client.process, client.pidfd.get(), client.output.get(), handlers, stalled);
  return ended(reap(client.process), stalled);
}

void ClientRun::read(pid_t child, int pidfd, int output, const Handlers& handlers, bool& stalled) {
  fcntl(output, F_SETFL, O_NONBLOCK);
  LineSplitter lines;
  Patience patience(clock_, patience_, child);
  std::array<char, 65536> bytes;
  bool open = true;
  for (;;) {
    pollfd watched[2] = {{pidfd, POLLIN, 0}, {open ? output : -1, POLLIN, 0}};
    const int ready = poll(watched, 2, patience.nextLook());
    if (ready < 0) {
      continue;
    }
    if (watched[1].revents != 0) {
      const ssize_t count = ::read(output, bytes.data(), bytes.size());
      if (count > 0) {
        lines.take(std::string_view(bytes.data(), static_cast<std::size_t>(count)), handlers.line);
        handlers.pause();
        patience.renew();
        letLinesGather(pidfd);
        continue;
      }
      open = count < 0 && (errno == EAGAIN || errno == EINTR);
    }
    if (watched[0].revents != 0) {
      break;
    }
    if (ready == 0 && patience.isOver()) {
      kill(child, SIGKILL);
      stalled = true;
      break;
    }
  }
  lines.finish(handlers.line);
  handlers.pause();
}

}  // namespace quillo::front
