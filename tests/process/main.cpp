// Runs the tests of this folder in a process and a mount namespace of their own (unshare(2)): what
// they list, start and kill is theirs alone, and ends with them.

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

namespace {

bool onlyLists(int argc, char** argv) {
  for (int at = 1; at < argc; ++at) {
    if (std::string_view(argv[at]).substr(0, 18) == "--gtest_list_tests") {
      return true;
    }
  }
  return false;
}

void write(const char* path, const std::string& text) { std::ofstream(path) << text; }

bool makeNamespaces() {
  const std::string user = std::to_string(geteuid());
  const std::string group = std::to_string(getegid());
  if (geteuid() == 0) {
    return unshare(CLONE_NEWPID | CLONE_NEWNS) == 0;
  }
  if (unshare(CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNS) != 0) {
    return false;
  }
  write("/proc/self/setgroups", "deny");
  write("/proc/self/uid_map", "0 " + user + " 1");
  write("/proc/self/gid_map", "0 " + group + " 1");
  return true;
}

// Waits for `child` and gives its exit status, or a failure for another end.
int waitFor(pid_t child) {
  int status = 0;
  for (;;) {
    const pid_t ended = wait(&status);
    if (ended == child) {
      return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
  }
}

// The first process of the namespace adopts and reaps whatever the tests leave behind.
int beFirstProcess() {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
      mount("proc", "/proc", "proc", 0, nullptr) != 0) {
    std::perror("the namespace's /proc");
    return EXIT_FAILURE;
  }
  const pid_t tests = fork();
  if (tests == 0) {
    std::exit(RUN_ALL_TESTS());
  }
  return waitFor(tests);
}

}  // namespace

int main(int argc, char** argv) {
  const bool lists = onlyLists(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  if (lists) {
    return RUN_ALL_TESTS();
  }
  // A stand-in for a program whose command line matters and nothing else: stays until its standard
  // input ends.
  if (std::getenv("QUILLO_STAND_IN")) {
    char byte;
    return read(STDIN_FILENO, &byte, 1) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
  }
  if (!makeNamespaces()) {
    std::perror("these tests need a process namespace of their own");
    return EXIT_FAILURE;
  }
  const pid_t first = fork();
  if (first == 0) {
    _exit(beFirstProcess());
  }
  // This process can start no other once the namespace is gone, which a leak check at its end
  // would.
  _exit(waitFor(first));
}
