#include "benchmarks/support/Processes.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace bench {
namespace {

std::vector<char*> pointers(const std::vector<std::string>& strings) {
  std::vector<char*> result;
  for (const std::string& string : strings) {
    result.push_back(const_cast<char*>(string.c_str()));
  }
  result.push_back(nullptr);
  return result;
}

// As many as systemd lets a service or a session have: some do worse with fewer, and some with
// more.
void limitDescriptors() {
  constexpr rlim_t usual = 1024;
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::min(usual, limit.rlim_max);
  setrlimit(RLIMIT_NOFILE, &limit);
}

// Fields of /proc/PID/stat from the third on: the name before them may hold anything.
std::vector<std::string> statFields(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string text;
  std::getline(file, text);
  std::istringstream rest(text.substr(std::min(text.rfind(')') + 2, text.size())));
  std::vector<std::string> fields;
  for (std::string field; rest >> field;) {
    fields.push_back(field);
  }
  return fields;
}

}  // namespace

Seconds now() { return std::chrono::steady_clock::now().time_since_epoch(); }

pid_t startFork(const std::function<int()>& work, uid_t user) {
  const pid_t pid = fork();
  if (pid < 0) {
    throw std::runtime_error("cannot fork: " + std::string(std::strerror(errno)));
  }
  if (pid == 0) {
    if (user != rootUser && (setgid(user) != 0 || setuid(user) != 0)) {
      _exit(126);
    }
    try {
      _exit(work());
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "%s\n", failure.what());
      _exit(125);
    }
  }
  return pid;
}

pid_t start(const std::vector<std::string>& command, const std::vector<std::string>& environment,
            const std::string& log, uid_t user) {
  // Made before the fork: the child of a program with threads may not ask for memory.
  std::vector<char*> argv = pointers(command);
  std::vector<char*> envp = pointers(environment);
  return startFork(
      [&] {
        const int output = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        limitDescriptors();
        execve(argv[0], argv.data(), envp.data());
        return 127;
      },
      user);
}

int finish(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int run(const std::vector<std::string>& command, const std::vector<std::string>& environment,
        const std::string& log, uid_t user) {
  return finish(start(command, environment, log, user));
}

void end(pid_t pid, int signal) {
  kill(pid, signal);
  finish(pid);
}

Usage usageOf(pid_t pid) {
  constexpr std::size_t userTime = 11;
  constexpr std::size_t systemTime = 12;
  Usage usage;
  const std::vector<std::string> fields = statFields(pid);
  if (fields.size() > systemTime) {
    usage.processorSeconds = (std::stod(fields[userTime]) + std::stod(fields[systemTime])) /
                             static_cast<double>(sysconf(_SC_CLK_TCK));
  }
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) {
      usage.peakMegabytes = std::stod(line.substr(6)) / 1024;
    }
  }
  return usage;
}

Seconds childrensTime() {
  rusage used = {};
  getrusage(RUSAGE_CHILDREN, &used);
  const auto seconds = [](const timeval& time) {
    return Seconds(std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec));
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

std::optional<pid_t> childNamed(pid_t parent, const std::string& name) {
  constexpr std::size_t parentField = 1;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string number = entry.path().filename().string();
    if (number.find_first_not_of("0123456789") != std::string::npos) {
      continue;
    }
    std::ifstream file(entry.path() / "comm");
    std::string found;
    std::getline(file, found);
    const pid_t pid = std::stoi(number);
    const std::vector<std::string> fields = statFields(pid);
    if (found == name && fields.size() > parentField && std::stoi(fields[parentField]) == parent) {
      return pid;
    }
  }
  return std::nullopt;
}

}  // namespace bench
