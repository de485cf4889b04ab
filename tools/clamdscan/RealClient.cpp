#include "tools/clamdscan/RealClient.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "posix/Clock.h"
#include "tools/clamdscan/MoveFolder.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::wrapper {
namespace {

bool isThisProgram(const std::string& path) {
  struct stat self = {};
  struct stat other = {};
  return stat("/proc/self/exe", &self) == 0 && stat(path.c_str(), &other) == 0 &&
         self.st_dev == other.st_dev && self.st_ino == other.st_ino;
}

// That client scans nothing at all when its folder is missing or cannot be used.
std::string usableMoveWord(const std::string& path, Report& report) {
  SystemClock clock;
  const std::string problem = MoveFolder(clock).open(path);
  if (problem.empty()) {
    return "--move=" + path;
  }
  report.error("ERROR: --move=" + path + ": " + problem + "; infected files stay where they are");
  return "";
}

std::vector<std::string> clientsWords(const TreeSettings& tree, const CommandLine& asked,
                                      const std::vector<std::string>& words, Report& report) {
  std::vector<std::string> all = {tree.realClient};
  if (!asked.configuration) {
    all.push_back("--config-file=" + tree.configuration);
  }
  if (!asked.streams) {
    all.emplace_back("--fdpass");
  }
  if (asked.incomplete) {
    all.insert(all.end(), words.begin(), words.end());
    return all;
  }
  all.insert(all.end(), asked.options.begin(), asked.options.end());
  const std::string move = asked.moveFolder ? usableMoveWord(*asked.moveFolder, report) : "";
  if (!move.empty()) {
    all.push_back(move);
  }
  if (!asked.paths.empty()) {
    all.emplace_back("--");
    all.insert(all.end(), asked.paths.begin(), asked.paths.end());
  }
  return all;
}

}  // namespace

bool isForRealClient(const TreeSettings& tree, const CommandLine& asked) {
  return asked.foreign || tree.daemonSocket.empty();
}

void becomeRealClient(const TreeSettings& tree, const CommandLine& asked,
                      const std::vector<std::string>& words, Report& report,
                      const Starter* starter) {
  if (isThisProgram(tree.realClient)) {
    report.error("ERROR: " + tree.realClient + " is to be the real client, but is this program");
    return;
  }
  std::vector<std::string> all = clientsWords(tree, asked, words, report);
  report.flush();
  std::vector<char*> argv;
  for (std::string& word : all) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);
  if (starter != nullptr) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    starter->check();  // one that went before sends no signal
  }
  execv(tree.realClient.c_str(), argv.data());
  report.error("ERROR: " + tree.realClient + " cannot be run: " + reasonText(errno));
}

}  // namespace quillo::wrapper
