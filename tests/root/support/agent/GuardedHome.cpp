#include "tests/root/support/agent/GuardedHome.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "posix/UniqueFd.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

// glibc 2.36 declares these without saying that they are C functions.
extern "C" {
#include <sys/pidfd.h>
}

namespace quillo::tests {
namespace fs = std::filesystem;
namespace {

void makeUsersFolder(const std::string& path, mode_t mode = 0755) {
  makeFolder(path, mode);
  check(chown(path.c_str(), GuardedHome::user, GuardedHome::user), "chown " + path);
}

// The first process of that name, and of that parent unless it is 0.
pid_t processNamed(const std::string& name, pid_t parent) {
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string number = entry.path().filename().string();
    if (number.find_first_not_of("0123456789") != std::string::npos) {
      continue;
    }
    try {
      const std::string status = readFile(entry.path().string() + "/status");
      const bool isChild =
          status.find("\nPPid:\t" + std::to_string(parent) + "\n") != std::string::npos;
      const bool isAlive = status.find("\nState:\tZ") == std::string::npos;
      if (status.starts_with("Name:\t" + name + "\n") && isAlive && (parent == 0 || isChild)) {
        return std::stoi(number);
      }
    } catch (const std::exception&) {
      // It ended meanwhile.
    }
  }
  return -1;
}

}  // namespace

GuardedHome::GuardedHome(const std::string& preferences, const Places& places)
    : root_(places.root),
      home_(places.home.empty() ? root_ + "/home" : places.home),
      prefix_(places.prefix.empty() ? root_ : places.prefix),
      watched_(home_ + "/Downloads"),
      preferences_(preferences),
      environment_({"HOME=" + home_, "PATH=/usr/bin:/bin:/usr/sbin",
                    "XDG_RUNTIME_DIR=" + root_ + "/runtime", "QT_QPA_PLATFORM=offscreen",
                    "DBUS_SESSION_BUS_ADDRESS=unix:path=/tmp/no-bus",
                    // What Qt and GLib keep for the life of the process is no leak of the agent's.
                    "ASAN_OPTIONS=detect_leaks=0"}) {
  if (!fs::exists(root_)) {
    makeFolder(root_);
  }
  if (places.prefix.empty()) {
    copyBuild();
  }
  makeUsersFolder(root_ + "/runtime", 0700);
  for (const char* part :
       {"", "/Downloads", "/Library", "/Library/Logs", "/.config", "/.config/vantrel"}) {
    makeUsersFolder(home_ + part);
  }
  makeTree();
}

void GuardedHome::copyBuild() const {
  makeFolder(root_ + "/bin");
  makeFolder(root_ + "/lib");
  const std::string build = QUILLO_BINARY_DIR;
  fs::copy_file(build + "/vantrel-quillo", root_ + "/bin/vantrel-quillo");
  const std::string resources = root_ + "/lib/vantrel-quillo";
  makeFolder(resources);
  for (const char* part : {"images", "interface", "strings", "preferences", "engine-tools"}) {
    fs::create_directory_symlink(build + "/resources/" + part, resources + "/" + part);
  }
  fs::copy_file(build + "/resources/gfslogger", resources + "/gfslogger");
  check(chmod((resources + "/gfslogger").c_str(), 04755), "chmod gfslogger");
}

void GuardedHome::makeTree() const {
  const std::string tool = prefix_ + "/lib/vantrel-quillo/engine-tools/vantrel-engine-tree";
  if (run({tool, tree()}) != 0) {
    throw std::runtime_error("the engine tree could not be made:\n" + readFile(root_ + "/output"));
  }
}

void GuardedHome::unsetVariable(const std::string& name) {
  std::erase_if(environment_,
                [&](const std::string& other) { return other.starts_with(name + "="); });
}

void GuardedHome::setVariable(const std::string& variable) {
  unsetVariable(variable.substr(0, variable.find('=')));
  environment_.push_back(variable);
}

void GuardedHome::setDesktop(const std::vector<std::string>& environment) {
  for (const char* name : {"XDG_RUNTIME_DIR", "QT_QPA_PLATFORM", "DBUS_SESSION_BUS_ADDRESS"}) {
    unsetVariable(name);
  }
  for (const std::string& variable : environment) {
    setVariable(variable);
  }
}

GuardedHome::~GuardedHome() {
  if (agent_ > 0) {
    kill(agent_, SIGKILL);
    waitpid(agent_, nullptr, 0);
  }
  if (const pid_t engine = daemon(); engine > 0) {
    kill(engine, SIGKILL);
  }
  std::error_code ignored;
  fs::remove_all(root_, ignored);
  fs::remove_all(home_, ignored);
}

std::string GuardedHome::testFile() {
  return std::string("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") + "ANTIVIRUS-TEST-FILE!$H+H*";
}

std::string GuardedHome::guarded(const std::string& name) const {
  return home_ + "/Downloads" + (name.empty() ? "" : "/" + name);
}

std::string GuardedHome::log() const { return home_ + "/Library/Logs/VantrelQuillo-scan.log"; }

std::string GuardedHome::socket() const {
  std::istringstream lines(readFile(tree() + "/etc/clamd.conf"));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("LocalSocket ")) {
      return line.substr(12);
    }
  }
  throw std::runtime_error("the tree names no socket");
}

void GuardedHome::writePreferences(const std::string& toml) const {
  const std::string file = home_ + "/.config/vantrel/org.vantrel.Vantrel.toml";
  fs::remove(file);
  writeFile(file, toml);
}

pid_t GuardedHome::spawn(const std::vector<std::string>& command, const std::string& output) const {
  std::vector<char*> argv;
  for (const std::string& word : command) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (const std::string& word : environment_) envp.push_back(const_cast<char*>(word.c_str()));
  envp.push_back(nullptr);
  const pid_t pid = check(fork(), "fork");
  if (pid == 0) {
    const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
    dup2(file, STDOUT_FILENO);
    dup2(file, STDERR_FILENO);
    close(file);
    if (setgid(user) != 0 || setuid(user) != 0 || chdir("/") != 0) _exit(126);
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  return pid;
}

int GuardedHome::run(const std::vector<std::string>& command) const {
  int status = 0;
  waitpid(spawn(command, root_ + "/output"), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

GuardedHome::Outcome GuardedHome::runAsUser(const std::vector<std::string>& command) const {
  const std::string output = root_ + "/output-of-another";
  fs::remove(output);
  int status = 0;
  writeFile(output, "");
  check(chmod(output.c_str(), 0666), "chmod " + output);
  waitpid(spawn(command, output), &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), readFile(output)};
}

void GuardedHome::startDaemon() const {
  if (run({tree() + "/sbin/clamd", "-c", tree() + "/etc/clamd.conf"}) == 1) {
    throw std::runtime_error("the daemon did not start");
  }
}

void GuardedHome::start() {
  if (!fs::exists(home_ + "/.config/vantrel/org.vantrel.Vantrel.toml")) {
    writePreferences("PathToClamav = \"" + tree() + "\"\nPathToUpdateLog = \"" + home_ +
                     "/update.log\"\nQuilloLogProgress = true\n" + preferences_ +
                     "\n[[QuilloFolderArray]]\npathName = \"" + watched_ +
                     "\"\nWatchSubdirs = true\n");
  }
  writeFile(root_ + "/output", "");
  check(chmod((root_ + "/output").c_str(), 0666), "chmod output");
  agent_ = spawn({prefix_ + "/bin/vantrel-quillo"}, root_ + "/output");
}

void GuardedHome::awaitWatching(const std::string& sentinel) {
  const FolderWatch watch(home_ + "/Library/Logs");
  const std::string path = sentinel.starts_with('/') ? sentinel : guarded(sentinel);
  bool isNoticed = false;
  awaitBy(
      [&](std::chrono::milliseconds) {
        save(sentinel, "sentinel");
        watch.awaitChange(std::chrono::milliseconds(50));
      },
      [&] {
        isNoticed = linesWith("Noticed: " + path) > 0;
        return isNoticed || !isRunning();
      });
  if (!isNoticed) {
    throw std::runtime_error("the agent does not watch; it says:\n" + readFile(root_ + "/output") +
                             "its log says:\n" + readLog());
  }
}

int GuardedHome::runSecondAgent() const { return run({prefix_ + "/bin/vantrel-quillo"}); }

bool GuardedHome::isRunning() const { return agent_ > 0 && waitpid(agent_, nullptr, WNOHANG) == 0; }

int GuardedHome::stop() {
  kill(agent_, SIGTERM);
  return awaitEnd();
}

int GuardedHome::awaitEnd() {
  const UniqueFd process(pidfd_open(agent_, 0));
  int status = 0;
  if (!awaitReadable(process.get()) || waitpid(agent_, &status, 0) != agent_) {
    return -1;
  }
  agent_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

pid_t GuardedHome::child(const std::string& name) const { return processNamed(name, agent_); }
pid_t GuardedHome::daemon() const { return processNamed("clamd", 0); }

std::string GuardedHome::save(const std::string& name, const std::string& contents) const {
  std::string path = name.starts_with('/') ? name : guarded(name);
  const std::string folder = fs::path(path).parent_path().string();
  if (!fs::exists(folder)) {
    fs::create_directories(folder);
    check(chown(folder.c_str(), user, user), "chown " + folder);
  }
  // As writeFile() does, for the same reason.
  int file = open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
  if (file < 0) {
    file =
        check(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644), "open " + path);
  }
  [[maybe_unused]] const ssize_t ignored = write(file, contents.data(), contents.size());
  check(fchown(file, user, user), "fchown " + path);
  close(file);
  return path;
}

std::string GuardedHome::saveInfected(const std::string& name) const {
  return save(name, testFile());
}

std::string GuardedHome::readLog() const { return fs::exists(log()) ? readFile(log()) : ""; }

int GuardedHome::linesWith(const std::string& text) const {
  std::istringstream lines(readLog());
  int count = 0;
  for (std::string line; std::getline(lines, line);) {
    count += line.find(text) != std::string::npos ? 1 : 0;
  }
  return count;
}

bool GuardedHome::logHas(const std::string& text, int times) const {
  const FolderWatch watch(home_ + "/Library/Logs");
  const bool isThere = watch.awaitThat([&] { return linesWith(text) >= times; });
  if (!isThere) {
    std::fprintf(stderr, "\"%s\" is not in the log:\n%s", text.c_str(), readLog().c_str());
  }
  return isThere;
}

NamedUser::NamedUser(const std::string& name, const std::string& home) {
  const std::string number = std::to_string(GuardedHome::user);
  unlink("/tmp/passwd");
  writeFile("/tmp/passwd", readFile("/etc/passwd") + name + ":x:" + number + ":" + number +
                               "::" + home + ":/bin/sh\n");
  check(mount("/tmp/passwd", "/etc/passwd", nullptr, MS_BIND, nullptr), "mounting /etc/passwd");
}

NamedUser::~NamedUser() {
  umount2("/etc/passwd", MNT_DETACH);
  unlink("/tmp/passwd");
}

}  // namespace quillo::tests
