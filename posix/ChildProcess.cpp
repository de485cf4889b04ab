#include "posix/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "posix/PlatformException.h"

// glibc 2.36 declares pidfd_open() without saying that it is a C function.
extern "C" {
#include <sys/pidfd.h>
}

extern char** environ;

namespace quillo {
namespace {

[[noreturn]] void raiseLaunchFailure(const std::string& path, int error) {
  switch (error) {
    case ENOENT:
    case EACCES:
    case ENOEXEC:
    case ENOTDIR:
    case EISDIR:
    case ELOOP:
    case ENAMETOOLONG:
    case EINVAL:
    case ELIBBAD:
      throw PlatformException(PlatformException::Kind::cannotLaunch, "InvalidArgumentException",
                              "launch path not accessible");
    default:
      throw PlatformException::ofSystemCall("LaunchFailure", "cannot launch " + path, error);
  }
}

class SpawnSettings {
 public:
  static constexpr short flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;

  SpawnSettings() {
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, flags);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  // As numbers 3 and 4; every other one but 0 to 2 is closed.
  void passOn(const UniqueFd& three, const UniqueFd& four) {
    int next = 3;
    for (const UniqueFd* passedOn : {&three, &four}) {
      const int number = passedOn == &three ? 3 : 4;
      if (*passedOn) {
        posix_spawn_file_actions_adddup2(&actions, passedOn->get(), number);
        next = number + 1;
      }
    }
    if (!three && four) {
      posix_spawn_file_actions_addclose(&actions, 3);
    }
    // All of this program's are closed by exec; this is for those that it inherited itself.
    posix_spawn_file_actions_addclosefrom_np(&actions, next);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
};

UniqueFd outOfTheWay(int descriptor) {
  constexpr int first = 5;
  return descriptor < 0 ? UniqueFd() : UniqueFd(fcntl(descriptor, F_DUPFD_CLOEXEC, first));
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
  std::vector<char*> result;
  result.reserve(strings.size() + 1);
  for (std::string& string : strings) {
    result.push_back(string.data());
  }
  result.push_back(nullptr);
  return result;
}

}  // namespace

std::vector<std::string> environmentWith(const std::string& name, const std::string& value) {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    if (std::strncmp(*variable, (name + "=").c_str(), name.size() + 1) != 0) {
      variables.emplace_back(*variable);
    }
  }
  variables.push_back(name + "=" + value);
  return variables;
}

ChildProcess::ChildProcess(const LaunchRequest& request) {
  UniqueFd writer;
  if (request.output == LaunchRequest::Output::joinedPipe) {
    output_ = PipeReader::open(writer);
  }
  spawn(request, writer.get());
}

ChildProcess::ChildProcess(const LaunchRequest& request, PipeReader output, UniqueFd writer)
    : output_(std::move(output)) {
  spawn(request, writer.get());
}

void ChildProcess::spawn(const LaunchRequest& request, int writer) {
  SpawnSettings settings;
  if (writer >= 0) {
    posix_spawn_file_actions_adddup2(&settings.actions, writer, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&settings.actions, writer, STDERR_FILENO);
  } else if (request.output == LaunchRequest::Output::discardedStdout) {
    posix_spawn_file_actions_addopen(&settings.actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  }
  if (request.withItsChildren) {
    posix_spawnattr_setpgroup(&settings.attributes, 0);
    posix_spawnattr_setflags(&settings.attributes, SpawnSettings::flags | POSIX_SPAWN_SETPGROUP);
    leadsGroup_ = true;
  }
  // Out of the way first, so that none is overwritten before it has been passed on.
  const UniqueFd three = outOfTheWay(request.descriptorThree);
  const UniqueFd four = outOfTheWay(request.descriptorFour);
  settings.passOn(three, four);
  std::vector<std::string> words;
  words.push_back(request.launchPath);
  words.insert(words.end(), request.arguments.begin(), request.arguments.end());
  std::vector<std::string> variables = request.environment.value_or(std::vector<std::string>());
  std::vector<char*> argv = pointers(words);
  std::vector<char*> envp = pointers(variables);

  const int error =
      posix_spawn(&pid_, request.launchPath.c_str(), &settings.actions, &settings.attributes,
                  argv.data(), request.environment ? envp.data() : environ);
  if (error != 0) {
    raiseLaunchFailure(request.launchPath, error);
  }
  pidfd_.reset(pidfd_open(pid_, 0));
  if (!pidfd_) {
    const int reason = errno;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    raiseLaunchFailure(request.launchPath, reason);
  }
}

ChildProcess::~ChildProcess() {
  {
    MutexLock hold(mutex_);
    if (reaped_) {
      return;
    }
    kill(leadsGroup_ ? -pid_ : pid_, SIGKILL);
  }
  reap();
}

bool ChildProcess::isRunning() {
  MutexLock hold(mutex_);
  if (reaped_) {
    return false;
  }
  siginfo_t info = {};
  return waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == 0;
}

void ChildProcess::terminate() { signal(SIGTERM); }

void ChildProcess::signal(int number) {
  // The process number cannot have been given to somebody else before the child is reaped.
  MutexLock hold(mutex_);
  if (!reaped_) {
    kill(pid_, number);
  }
}

void ChildProcess::endAtOnce() {
  // As above; a group bears the number of its leader for as long as that has not been reaped.
  MutexLock hold(mutex_);
  if (!reaped_) {
    kill(leadsGroup_ ? -pid_ : pid_, SIGKILL);
  }
}

int ChildProcess::waitUntilExit(const ChunkHandler& handler, ReadBesides besides) {
  bool reading = handler != nullptr && output_.descriptor() >= 0;
  for (;;) {
    pollfd watched[3] = {{pidfd_.get(), POLLIN, 0},
                         {reading ? output_.descriptor() : -1, POLLIN, 0},
                         {besides.descriptor, POLLIN, 0}};
    if (poll(watched, 3, -1) < 0 && errno == EINTR) {
      continue;
    }
    if (watched[2].revents != 0 && !besides.read()) {
      besides.descriptor = -1;
    }
    if (reading && watched[1].revents != 0) {
      const std::string chunk = output_.availableData();
      if (!chunk.empty()) {
        reading = handler(chunk);
        continue;
      }
      reading = !output_.atEnd();
    }
    if (watched[0].revents != 0) {
      break;
    }
  }
  reap();
  return status_;
}

void ChildProcess::reap() {
  // Wait first without the lock, so that terminate() can still reach a child that does not end.
  siginfo_t info = {};
  while (waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
  }
  MutexLock hold(mutex_);
  if (reaped_) {
    return;
  }
  int status = 0;
  while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  reaped_ = true;
  if (WIFEXITED(status)) {
    status_ = WEXITSTATUS(status);
  } else {
    status_ = WTERMSIG(status) <= SIGINT ? 128 + WTERMSIG(status) : WTERMSIG(status);
  }
}

void runShellCommand(const std::string& commandLine) {
  // The program's own command lines, which are written for a shell.
  // NOLINTNEXTLINE(cert-env33-c)
  [[maybe_unused]] const int ignored = std::system(commandLine.c_str());
}

}  // namespace quillo
