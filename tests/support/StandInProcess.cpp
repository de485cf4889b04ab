#include "tests/support/StandInProcess.h"

#include <fcntl.h>
#include <sys/wait.h>

#include <stdexcept>

namespace quillo {

StandInProcess::StandInProcess(std::vector<std::string> commandLine, const Program& program) {
  int input[2];
  int started[2];
  if (pipe2(input, O_CLOEXEC) != 0 || pipe2(started, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe for a stand-in");
  }
  const UniqueFd reader(input[0]);
  input_.reset(input[1]);
  const UniqueFd startedReader(started[0]);
  UniqueFd startedWriter(started[1]);
  std::vector<char*> argv;
  for (std::string& word : commandLine) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);
  std::string variable = "QUILLO_STAND_IN=1";
  char* environment[] = {variable.data(), nullptr};
  const uid_t user = program.user;
  process_ = fork();
  if (process_ == 0) {
    dup2(reader.get(), STDIN_FILENO);
    if (user == geteuid() ||
        (setresgid(user, user, user) == 0 && setresuid(user, user, user) == 0)) {
      execve(program.path.c_str(), argv.data(), environment);
    }
    _exit(127);
  }
  startedWriter.reset();
  // Ends when the new program has begun, and with it the pipe.
  char byte;
  [[maybe_unused]] const ssize_t ignored = read(startedReader.get(), &byte, 1);
}

StandInProcess::~StandInProcess() {
  input_.reset();
  waitpid(process_, nullptr, 0);
}

}  // namespace quillo
