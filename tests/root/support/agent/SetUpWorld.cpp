#include "tests/root/support/agent/SetUpWorld.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pty.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <sstream>

#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/root/support/world/Lines.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace fs = std::filesystem;
namespace {

constexpr char password[] = "open";
// crypt(3) of the password.
constexpr char passwordHash[] =
    "$6$quillo$W1M4gL8H1kStdndGpJmXU1tsQk5aYCrjx3Y."
    "hHhHOIUlVdyzgfgFHeAHmmLa6dP9uNV9lduRbxw1yEEpUtpfS1";

uid_t ownerOf(const std::string& path) {
  struct stat info {};
  check(stat(path.c_str(), &info), path);
  return info.st_uid;
}

// Replaces what the terminal makes of a line's end, and drops the echo's.
std::string withoutReturns(std::string text) {
  std::erase(text, '\r');
  return text;
}

std::vector<pid_t> processesOf(uid_t user) {
  std::vector<pid_t> processes;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string number = entry.path().filename().string();
    struct stat info {};
    if (number.find_first_not_of("0123456789") == std::string::npos &&
        stat(entry.path().c_str(), &info) == 0 && info.st_uid == user) {
      processes.push_back(std::stoi(number));
    }
  }
  return processes;
}

}  // namespace

SetUpWorld::SetUpWorld() : user_(ownerOf(QUILLO_BINARY_DIR) == 0 ? 12345 : ownerOf(build())) {
  const std::string number = std::to_string(user_);
  exchange("/etc/passwd",
           "guarded:x:" + number + ":" + number + "::" + home_ + ":/bin/sh\n" +
               "another:x:12399:12399::" + homeOfAnother + ":/bin/sh\n",
           0644);
  exchange("/etc/group", "guarded:x:" + number + ":\n", 0644);
  exchange("/etc/shadow", std::string("guarded:") + passwordHash + ":19000:0:99999:7:::\n", 0640);
  exchange("/etc/sudoers", "Defaults !lecture\nguarded ALL=(ALL) PASSWD: ALL\n", 0440);
  for (const char* point : {"/usr/local", "/var/lib/clamav", "/etc/xdg", "/etc/apparmor.d",
                            "/usr/share/polkit-1/actions"}) {
    cover(point, "mode=755");
  }
  makeFolder("/usr/local/lib");
  makeFolder("/run/people");
  for (const std::string& folder :
       {home_, home_ + "/Downloads", std::string("/run/people/runtime")}) {
    makeFolder(folder, 0700);
    check(chown(folder.c_str(), user_, user_), folder);
  }
  makeBuildTheUsers();
}

SetUpWorld::~SetUpWorld() {
  for (const pid_t process : processesOf(user_)) kill(process, SIGKILL);
  std::for_each(mounts_.rbegin(), mounts_.rend(),
                [](const std::string& point) { umount2(point.c_str(), MNT_DETACH); });
  std::error_code ignored;
  for (const char* folder : {"/run/people", "/tmp/exchanged", "/tmp/build"}) {
    fs::remove_all(folder, ignored);
  }
}

std::string SetUpWorld::script(const std::string& name) {
  return QUILLO_SOURCE_DIR "/packaging/" + name;
}

void SetUpWorld::cover(const std::string& point, const std::string& options) {
  mountTmpfs(point, options);
  mounts_.push_back(point);
}

void SetUpWorld::exchange(const std::string& file, const std::string& addition, mode_t mode) {
  fs::create_directories("/tmp/exchanged");
  const std::string other = "/tmp/exchanged/" + fs::path(file).filename().string();
  // In front: the build may belong to somebody who has a name already.
  writeFile(other, addition + readFile(file));
  check(chmod(other.c_str(), mode), other);
  check(mount(other.c_str(), file.c_str(), nullptr, MS_BIND, nullptr), "mounting " + file);
  mounts_.push_back(file);
}

// Over the build, which others use, lies one that the user can write and that goes away.
void SetUpWorld::makeBuildTheUsers() {
  for (const char* folder : {"/tmp/build", "/tmp/build/upper", "/tmp/build/work"}) {
    makeFolder(folder);
  }
  const std::string options =
      "lowerdir=" + build() + ",upperdir=/tmp/build/upper,workdir=/tmp/build/work";
  check(mount("overlay", build().c_str(), "overlay", 0, options.c_str()), "covering the build");
  mounts_.push_back(build());
  for (const std::string& path : {build(), build() + "/resources/gfslogger"}) {
    check(chown(path.c_str(), user_, user_), path);
  }
}

void SetUpWorld::takeSudo() const { check(umount2("/etc/sudoers", MNT_DETACH), "/etc/sudoers"); }

SetUpWorld::Outcome SetUpWorld::asUser(const std::vector<std::string>& command) const {
  std::vector<std::string> environment = {"HOME=" + home_,
                                          "USER=guarded",
                                          "LOGNAME=guarded",
                                          "PATH=" + home_ + "/bin:/usr/bin:/bin:/usr/sbin",
                                          "TERM=dumb",
                                          "LC_ALL=C.UTF-8",
                                          "XDG_RUNTIME_DIR=/run/people/runtime",
                                          "DBUS_SESSION_BUS_ADDRESS=unix:path=/run/no-bus",
                                          "ASAN_OPTIONS=detect_leaks=0"};
  std::vector<char*> argv;
  for (const std::string& word : command) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (std::string& word : environment) envp.push_back(word.data());
  envp.push_back(nullptr);
  int terminal = -1;
  const pid_t process = check(forkpty(&terminal, nullptr, nullptr, nullptr), "forkpty");
  if (process == 0) {
    if (unshare(CLONE_NEWNET) != 0 || setgroups(0, nullptr) != 0 || setgid(user_) != 0 ||
        setuid(user_) != 0 || chdir(home_.c_str()) != 0) {
      _exit(126);
    }
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  Outcome outcome;
  std::array<char, 4096> chunk;
  const std::string question = "password for guarded: ";
  std::size_t answered = 0;
  while (awaitReadable(terminal)) {
    const ssize_t size = read(terminal, chunk.data(), chunk.size());
    if (size <= 0) break;
    outcome.output.append(chunk.data(), static_cast<std::size_t>(size));
    const std::size_t asked = outcome.output.find(question, answered);
    if (asked != std::string::npos) {
      answered = asked + question.size();
      ++outcome.questions;
      const std::string answer = std::string(password) + "\n";
      check(write(terminal, answer.data(), answer.size()) < 0 ? -1 : 0, "answering");
    }
  }
  if (readable.revents == 0) kill(process, SIGKILL);
  int status = 0;
  check(waitpid(process, &status, 0), "waiting for " + command[0]);
  close(terminal);  // which would hang up on it
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  outcome.output = withoutReturns(outcome.output);
  return outcome;
}

void SetUpWorld::install(const std::string& prefix) const {
  runProgram({"cmake", "--install", build(), "--prefix", prefix});
}

void SetUpWorld::uninstall() const {
  std::istringstream files(readFile(build() + "/install_manifest.txt"));
  for (std::string file; std::getline(files, file);) fs::remove(file);
}

std::map<pid_t, std::string> SetUpWorld::agents() const {
  std::map<pid_t, std::string> agents;
  for (const pid_t process : processesOf(user_)) {
    std::error_code gone;
    const std::string program =
        fs::read_symlink("/proc/" + std::to_string(process) + "/exe", gone).string();
    if (!gone && program.find("/vantrel-quillo") != std::string::npos &&
        fs::path(program).filename().string().starts_with("vantrel-quillo")) {
      agents[process] = program;
    }
  }
  return agents;
}

std::string SetUpWorld::listing() const {
  std::set<std::string> lines;
  for (const std::string& root : {home_, std::string("/usr/local"), std::string("/etc/xdg")}) {
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
      struct stat info {};
      check(lstat(entry.path().c_str(), &info), entry.path().string());
      std::ostringstream line;
      line << entry.path().string() << " " << std::oct << info.st_mode << " " << std::dec
           << info.st_uid << "\n";
      lines.insert(line.str());
    }
  }
  std::string all;
  for (const std::string& line : lines) all += line;
  return all;
}

void SetUpWorld::writeAsUser(const std::string& path, const std::string& text) const {
  fs::remove(path);
  writeFile(path, text);
  check(chown(path.c_str(), user_, user_), path);
}

}  // namespace quillo::tests
