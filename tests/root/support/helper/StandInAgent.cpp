#include "tests/root/support/helper/StandInAgent.h"

#include <fcntl.h>
#include <grp.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

struct Pipe {
  int reading = -1;
  int writing = -1;
};

Pipe makePipe() {
  int ends[2];
  check(pipe2(ends, O_CLOEXEC), "making a pipe");
  return {ends[0], ends[1]};
}

// The agent's side, in a process of its own.
class Servant {
 public:
  Servant(const StandInAgent::Options& options, int control, int output, int errors)
      : options_(options), control_(control), output_(output), errors_(errors) {}

  [[noreturn]] void serve() {
    prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    becomeUser();
    openLog();
    std::array<char, 4096> command;
    for (;;) {
      const ssize_t got = recv(control_, command.data(), command.size(), 0);
      if (got <= 0) _exit(0);
      const std::string answer = obey(std::string(command.data(), static_cast<size_t>(got)));
      send(control_, answer.data(), answer.size(), MSG_NOSIGNAL);
    }
  }

 private:
  void becomeUser() {
    if (!options_.root.empty()) {
      check(chroot(options_.root.c_str()), "changing the root folder");
      check(chdir("/"), "entering the root folder");
    }
    check(setgroups(options_.groups.size(), options_.groups.data()), "setting groups");
    check(setresgid(options_.user, options_.user, options_.user), "setting the group");
    check(setresuid(options_.user, options_.user, options_.user), "setting the user");
    // As any program of that user; a change of user cleared it.
    prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);
    if (options_.noNewPrivileges) prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  }

  void openLog() {
    if (options_.log.empty()) return;
    const int fd = check(open(options_.log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0640), "log");
    dup2(fd, STDOUT_FILENO);
    ::close(fd);
  }

  std::string obey(const std::string& command) {
    const std::string argument = command.substr(1);
    switch (command[0]) {
      case 's':
        return start();
      case 'a':
        writeFile(argument.empty() ? "/proc/self/fd/1" : argument);
        return "done";
      case 'o':
        openLog();
        return "done";
      case 'k':
        return ::kill(helper_, std::stoi(argument)) == 0 ? "done" : "refused";
      default:
        return reap();
    }
  }

  std::string start() {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output_, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors_, STDERR_FILENO);
    if (options_.inherited >= 0) {
      posix_spawn_file_actions_adddup2(&actions, errors_, options_.inherited);
    }
    std::vector<std::string> words{options_.program};
    words.insert(words.end(), options_.arguments.begin(), options_.arguments.end());
    std::vector<std::string> settings = options_.environment;
    const int error = posix_spawn(&helper_, options_.program.c_str(), &actions, nullptr,
                                  pointersTo(words).data(), pointersTo(settings).data());
    ::close(output_);
    ::close(errors_);
    return error == 0 ? std::to_string(helper_) : "0";
  }

  static std::vector<char*> pointersTo(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
  }

  std::string reap() {
    Ending ending;
    wait4(helper_, &ending.status, 0, &ending.usage);
    return std::string(reinterpret_cast<const char*>(&ending), sizeof(ending));
  }

  const StandInAgent::Options& options_;
  const int control_;
  const int output_;
  const int errors_;
  pid_t helper_ = -1;
};

int forkServant(const StandInAgent::Options& options, const Pipe& output, const Pipe& errors,
                pid_t& agent) {
  int ends[2];
  check(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), "making a socket pair");
  agent = check(fork(), "starting an agent");
  if (agent == 0) {
    ::close(ends[0]);
    ::close(output.reading);
    ::close(errors.reading);
    try {
      Servant(options, ends[1], output.writing, errors.writing).serve();
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "agent: %s\n", failure.what());
    }
    _exit(1);
  }
  ::close(ends[1]);
  ::close(output.writing);
  ::close(errors.writing);
  return ends[0];
}

}  // namespace

StandInAgent::StandInAgent(const Options& options) : output_(-1), errors_(-1) {
  const Pipe output = makePipe();
  const Pipe errors = makePipe();
  control_ = forkServant(options, output, errors, agent_);
  output_.reset(output.reading);
  errors_.reset(errors.reading);
  helper_ = std::stoi(ask("s"));
  if (helper_ <= 0) throw std::runtime_error("the helper could not be started");
}

StandInAgent::~StandInAgent() {
  kill();
  close(control_);
}

std::string StandInAgent::ask(const std::string& command) {
  check(static_cast<int>(send(control_, command.data(), command.size(), MSG_NOSIGNAL)), "asking");
  std::array<char, 4096> answer;
  const ssize_t got = recv(control_, answer.data(), answer.size(), 0);
  if (got <= 0) throw std::runtime_error("the agent does not answer " + command);
  return std::string(answer.data(), static_cast<size_t>(got));
}

void StandInAgent::append(const std::string& path) { ask("a" + path); }

void StandInAgent::reopenLog() { ask("o"); }

bool StandInAgent::signalHelper(int number) { return ask("k" + std::to_string(number)) == "done"; }

Ending StandInAgent::reap() {
  const std::string answer = ask("r");
  Ending ending;
  std::memcpy(&ending, answer.data(), sizeof(ending));
  return ending;
}

void StandInAgent::kill() {
  if (agent_ <= 0) return;
  ::kill(agent_, SIGKILL);
  waitpid(agent_, nullptr, 0);
  agent_ = -1;
}

}  // namespace quillo::tests
