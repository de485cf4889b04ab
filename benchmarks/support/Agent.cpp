#include "benchmarks/support/Agent.h"

#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "benchmarks/support/Engine.h"
#include "benchmarks/support/StormFiles.h"

namespace bench {
namespace {

constexpr double longestStart = 120;  // seconds

// Wakes whoever waits when a file was written to.
class FileWatch {
 public:
  explicit FileWatch(const std::string& path) : descriptor_(inotify_init1(IN_CLOEXEC)) {
    inotify_add_watch(descriptor_, path.c_str(), IN_MODIFY);
  }
  ~FileWatch() { close(descriptor_); }
  void wait(int milliseconds) const {
    pollfd watched{descriptor_, POLLIN, 0};
    char events[4096];
    if (poll(&watched, 1, milliseconds) > 0) {
      [[maybe_unused]] const ssize_t ignored = read(descriptor_, events, sizeof events);
    }
  }

 private:
  int descriptor_;
};

}  // namespace

Agent::Agent(std::string root, const std::string& build)
    : root_(std::move(root)),
      program_(root_ + "/bin/vantrel-quillo"),
      home_(root_ + "/home"),
      guarded_(home_ + "/Downloads"),
      tree_(home_ + "/engine"),
      log_(home_ + "/Library/Logs/VantrelQuillo-scan.log"),
      environment_{"HOME=" + home_, "PATH=/usr/bin:/bin", "XDG_RUNTIME_DIR=" + root_ + "/runtime",
                   "XDG_CONFIG_HOME=" + home_ + "/.config"} {
  std::filesystem::create_directories(root_ + "/bin");
  std::filesystem::create_directories(root_ + "/lib");
  std::filesystem::copy(build + "/vantrel-quillo", program_);
  std::filesystem::copy(build + "/resources", root_ + "/lib/vantrel-quillo",
                        std::filesystem::copy_options::recursive);
  if (chmod((root_ + "/lib/vantrel-quillo/gfslogger").c_str(), 04755) != 0) {
    throw std::runtime_error("cannot make the helper set-user-ID root");
  }
  for (const std::string& folder :
       {home_, guarded_, root_ + "/runtime", home_ + "/Library", home_ + "/Library/Logs",
        home_ + "/.config", home_ + "/.config/vantrel"}) {
    makeOrdinaryFolder(folder);
  }
  setPreferences("");
  makeTree();
}

void Agent::makeTree() {
  if (run({root_ + "/lib/vantrel-quillo/engine-tools/vantrel-engine-tree", tree_}, environment_)) {
    throw std::runtime_error("the engine tree could not be made");
  }
}

void Agent::setPreferences(const std::string& lines) {
  writeFile(home_ + "/.config/vantrel/org.vantrel.Vantrel.toml",
            "PathToClamav = \"" + tree_ + "\"\nPathToUpdateLog = \"" + home_ +
                "/update.log\"\nSuppressInfoDialogs = true\nmultiscan = \"yes\"\n" + lines +
                "[[QuilloFolderArray]]\npathName = \"" + guarded_ + "\"\nWatchSubdirs = true\n");
}

std::string Agent::readLog() const {
  std::ifstream file(log_, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void Agent::start() {
  writeFile(log_, "");
  pid_ = bench::start({program_}, environment_);
}

std::vector<pid_t> Agent::processes() const {
  std::vector<pid_t> family = familyOf(pid_);
  // Its launcher's until it has detached itself.
  for (const pid_t daemon : processesNamed("clamd")) {
    std::erase(family, daemon);
  }
  return family;
}

Seconds Agent::startAndAwaitWatching() {
  start();
  const FileWatch watch(log_);
  const Seconds deadline = now() + Seconds(longestStart);
  while (readLog().find("clamd launched successfully") == std::string::npos) {
    if (now() > deadline) {
      throw std::runtime_error("the engine did not answer; the log says:\n" + readLog());
    }
    watch.wait(1000);
  }
  const Seconds answered = now();
  // A verdict takes the pipeline's second of holding still; the helper's readiness is what is asked
  // for, so the first of a row of files that gets a verdict shows when it began.
  std::vector<Seconds> written;
  while (now() - answered < Seconds(1)) {
    writeFile(guarded_ + "/probe" + std::to_string(written.size()), "probe");
    written.push_back(now());
    watch.wait(2);
  }
  for (;;) {
    const std::string log = readLog();
    if (log.find("/probe" + std::to_string(written.size() - 1) + ": OK") != std::string::npos) {
      for (std::size_t index = 0; index < written.size(); ++index) {
        if (log.find("/probe" + std::to_string(index) + ": OK") != std::string::npos) {
          return written[index] - answered;
        }
      }
    }
    if (now() > deadline) {
      throw std::runtime_error("nothing was reported; the log says:\n" + log);
    }
    watch.wait(1000);
  }
}

Usage Agent::usage() const { return usageOf(pid_); }

Usage Agent::helperUsage() const {
  const auto helper = childNamed(pid_, "gfslogger");
  return helper ? usageOf(*helper) : Usage();
}

void Agent::stop() {
  end(pid_, SIGTERM);
  pid_ = -1;
  stopDaemon(tree_);
}

}  // namespace bench
