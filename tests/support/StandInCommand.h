#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "posix/UniqueFd.h"

namespace quillo {

// A process that shows the command line it is told and does nothing until the object goes.
class StandInCommand {
 public:
  explicit StandInCommand(std::vector<std::string> commandLine) {
    int input[2];
    int started[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(started, O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe for a stand-in");
    }
    const UniqueFd reader(input[0]);
    writer_.reset(input[1]);
    const UniqueFd startedReader(started[0]);
    UniqueFd startedWriter(started[1]);
    std::vector<char*> argv;
    for (std::string& word : commandLine) {
      argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    std::string variable = "QUILLO_STAND_IN=1";
    char* envp[] = {variable.data(), nullptr};
    pid_ = fork();
    if (pid_ == 0) {
      dup2(reader.get(), STDIN_FILENO);
      execve("/proc/self/exe", argv.data(), envp);
      _exit(127);
    }
    startedWriter.reset();
    // Ends when the new program has begun, and with it the pipe.
    char byte;
    [[maybe_unused]] const ssize_t ignored = read(startedReader.get(), &byte, 1);
  }
  ~StandInCommand() {
    writer_.reset();
    waitpid(pid_, nullptr, 0);
  }
  StandInCommand(const StandInCommand&) = delete;
  StandInCommand& operator=(const StandInCommand&) = delete;

 private:
  UniqueFd writer_;
  pid_t pid_ = -1;
};

}  // namespace quillo
