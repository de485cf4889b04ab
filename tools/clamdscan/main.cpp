#include <errno.h>
#include <signal.h>
#include <sys/auxv.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <string>
#include <vector>

#include "tools/clamdscan/Front.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::front {
namespace {

std::vector<std::string> pathsOfThisProgram() {
  std::vector<std::string> paths;
  if (const unsigned long name = getauxval(AT_EXECFN); name != 0) {
    paths.emplace_back(reinterpret_cast<const char*>(name));
  }
  char program[4096];
  const ssize_t length = readlink("/proc/self/exe", program, sizeof(program) - 1);
  if (length > 0) {
    paths.emplace_back(program, static_cast<std::size_t>(length));
  }
  return paths;
}

bool isThisProgram(const std::string& path) {
  struct stat self = {};
  struct stat other = {};
  return stat("/proc/self/exe", &self) == 0 && stat(path.c_str(), &other) == 0 &&
         self.st_dev == other.st_dev && self.st_ino == other.st_ino;
}

int becomeRealClient(const EngineTree& tree, const std::vector<std::string>& common,
                     const std::vector<std::string>& words) {
  std::vector<std::string> all = {tree.realClient};
  all.insert(all.end(), common.begin(), common.end());
  all.insert(all.end(), words.begin(), words.end());
  std::vector<char*> argv;
  for (std::string& word : all) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);
  execv(tree.realClient.c_str(), argv.data());
  return errno;
}

void endBySignal(int number) {
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
  signal(number, SIG_DFL);
  raise(number);
}

int run(const std::vector<std::string>& words) {
  const EngineTree tree = EngineTree::find(pathsOfThisProgram());
  const CommandLine asked = CommandLine::parse(words);
  Report report({STDOUT_FILENO, asked.toStdout ? STDOUT_FILENO : STDERR_FILENO, asked.infectedOnly,
                 asked.quiet});
  if (isThisProgram(tree.realClient)) {
    report.error("ERROR: " + tree.realClient + " is to be the real client, but is this program");
  } else if (asked.takesNoPaths) {
    std::vector<std::string> common;
    if (!asked.ownConfiguration) {
      common.push_back("--config-file=" + tree.configuration);
    }
    if (!asked.streams) {
      common.emplace_back("--fdpass");
    }
    const int error = becomeRealClient(tree, common, words);
    report.error("ERROR: " + tree.realClient + " cannot be run: " + reasonText(error));
  } else {
    SystemClock clock;
    // The engine itself gives up on a file some time; that is not the client's fault.
    const Clock::Duration patience = std::max(
        Front::usualPatience, Clock::Duration(tree.limits.longestScan) + std::chrono::minutes(1));
    Front front(tree, asked, report, clock, patience);
    const int status = front.run();
    if (front.endingSignal() != 0) {
      endBySignal(front.endingSignal());
    }
    return status;
  }
  report.flush();
  return report.exitStatus();
}

}  // namespace
}  // namespace quillo::front

int main(int argc, char** argv) {
  try {
    return quillo::front::run(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const std::exception& problem) {
    const std::string line = std::string("ERROR: clamdscan: ") + problem.what() + "\n";
    return write(STDOUT_FILENO, line.data(), line.size()) < 0 ? 3 : 2;
  }
}
