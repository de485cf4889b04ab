#include "tests/root/support/engine/TreeOnMachine.h"

#include <dirent.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "clamav/ClamConf.h"
#include "clamav/ControlSocket.h"
#include "clamav/Definitions.h"
#include "posix/ChildProcess.h"
#include "posix/UniqueFd.h"
#include "tests/support/StarterCare.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

// Mounts of this process stay its own from here on.
void leaveTheMachinesMounts() {
  if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot get mounts of one's own");
  }
}

std::string contentOf(const std::string& file) {
  std::ostringstream content;
  content << std::ifstream(file, std::ios::binary).rdbuf();
  return content.str();
}

std::string mountsOf(const std::string& process) {
  std::error_code ignored;
  return std::filesystem::read_symlink("/proc/" + process + "/ns/mnt", ignored);
}

}  // namespace

TreeOnMachine::TreeOnMachine() {
  // Before /tmp is covered: the build folder may lie there.
  const std::string built = QUILLO_BINARY_DIR "/resources/engine-tools/";
  const std::string tool = contentOf(built + "vantrel-engine-tree");
  const std::string launcher = contentOf(built + "engine-launcher");
  const std::string wrapper = contentOf(built + "clamdscan");
  leaveTheMachinesMounts();
  cover("/tmp", "mode=1777");
  cover("/etc/clamav", "mode=755");
  cover("/var/lib/clamav", "mode=755");
  std::filesystem::create_directory(folder_);
  for (const uid_t user : {uid_t{0}, ordinaryUser, otherUser}) {
    const std::string home = path(std::to_string(user));
    std::filesystem::create_directory(home);
    EXPECT_EQ(chown(home.c_str(), user, user), 0);
  }
  std::filesystem::create_directory(path("tools"));
  install("vantrel-engine-tree", tool);
  install("engine-launcher", launcher);
  install("clamdscan", wrapper);
}

TreeOnMachine::~TreeOnMachine() {
  endDaemons();
  for (const std::string& covered : mounts_) {
    umount2(covered.c_str(), MNT_DETACH);
  }
}

void TreeOnMachine::cover(const std::string& folder, const char* mode) {
  ASSERT_EQ(mount("none", folder.c_str(), "tmpfs", 0, mode), 0) << folder;
  mounts_.push_back(folder);
}

void TreeOnMachine::install(const std::string& name, const std::string& content) const {
  write(path("tools/" + name), content);
  ASSERT_EQ(chmod(path("tools/" + name).c_str(), 0755), 0);
}

void TreeOnMachine::write(const std::string& file, const std::string& content, uid_t owner) const {
  std::ofstream(file, std::ios::binary) << content;
  ASSERT_EQ(chown(file.c_str(), owner, owner), 0) << file;
}

std::string TreeOnMachine::read(const std::string& file) const { return contentOf(file); }

Outcome TreeOnMachine::run(uid_t user, const std::string& program,
                           const std::vector<std::string>& arguments) const {
  const std::string number = std::to_string(user);
  LaunchRequest request;
  request.launchPath = "/usr/bin/setpriv";
  request.arguments = {"--reuid", number, "--regid", number, "--clear-groups", "--", program};
  request.arguments.insert(request.arguments.end(), arguments.begin(), arguments.end());
  request.environment = std::vector<std::string>{"HOME=" + path(number), "PATH=/usr/bin:/bin"};
  Outcome outcome;
  ChildProcess child(request);
  outcome.status = child.waitUntilExit([&outcome](std::string_view chunk) {
    outcome.output += chunk;
    return true;
  });
  return outcome;
}

Outcome TreeOnMachine::makeTree(uid_t user, const std::vector<std::string>& arguments) const {
  return run(user, path("tools/vantrel-engine-tree"), arguments);
}

Outcome TreeOnMachine::startDaemon(uid_t user, const std::string& root) const {
  return run(user, root + "/sbin/clamd", {"-c", root + "/etc/clamd.conf"});
}

std::string TreeOnMachine::option(const std::string& file, const std::string& name) const {
  return ClamConf::parse(read(file)).value(name);
}

std::string TreeOnMachine::socketOf(const std::string& root) const {
  return option(root + "/etc/clamd.conf", "LocalSocket");
}

bool TreeOnMachine::answers(const std::string& socket) const {
  return pingDaemon(socket, {0, ordinaryUser, otherUser, packagedAccount("").user}, longestWait) ==
         DaemonState::answers;
}

Outcome TreeOnMachine::scan(uid_t user, const std::string& root, const std::string& file) const {
  return run(user, root + "/bin/clamdscan", {"--no-summary", "--stdout", file});
}

std::vector<pid_t> TreeOnMachine::daemons() const {
  std::vector<pid_t> found;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") == std::string::npos &&
        read("/proc/" + name + "/comm") == "clamd\n" &&
        !read("/proc/" + name + "/cmdline").empty()) {
      found.push_back(static_cast<pid_t>(std::stol(name)));
    }
  }
  return found;
}

void TreeOnMachine::endDaemons() const {
  for (const pid_t daemon : daemons()) {
    const UniqueFd watched(static_cast<int>(syscall(SYS_pidfd_open, daemon, 0)));
    // Only what this test started has its mounts.
    if (!watched || mountsOf(std::to_string(daemon)) != mountsOf("self")) {
      continue;
    }
    kill(daemon, SIGKILL);
    EXPECT_TRUE(awaitReadable(watched.get())) << "clamd does not end";
  }
}

void TreeOnMachine::startMachineDaemon() const {
  const Account account = packagedAccount("");
  std::filesystem::create_directory(path("machine"));
  ASSERT_EQ(chown(path("machine").c_str(), account.user, account.group), 0);
  write(path("machine/other.ndb"), otherDefinition());
  write("/etc/clamav/clamd.conf", "# LocalSocket /nowhere\nUser " + account.name +
                                      "\nMaxFileSize 9M\nDatabaseDirectory " + path("machine") +
                                      "\nLocalSocket " + path("machine/clamd.ctl") + "\n");
  const std::string socket = path("machine/clamd.ctl");
  const StarterCare care([&] { return answers(socket); });
  const Outcome started = run(0, "/usr/sbin/clamd");
  ASSERT_TRUE(answers(socket)) << started.status << " " << started.output;
}

std::string TreeOnMachine::eicarFile() const {
  std::string file = path("eicar.txt");
  write(file, eicarTestFile());
  return file;
}

std::string TreeOnMachine::eicarZip() const {
  std::string file = path("eicar.zip");
  const Outcome packed = run(0, "/usr/bin/zip", {"-q", "-j", file, eicarFile()});
  EXPECT_EQ(packed.status, 0) << packed.output;
  return file;
}

std::string TreeOnMachine::otherFile() const {
  std::string file = path("other.txt");
  write(file, "A harmless text that one definition of this test is about.");
  return file;
}

std::string TreeOnMachine::otherDefinition() const {
  std::string line = "Test.Other:0:0:";
  for (const char c : std::string("A harmless text that one")) {
    constexpr char digits[] = "0123456789abcdef";
    line += digits[static_cast<unsigned char>(c) >> 4U];
    line += digits[static_cast<unsigned char>(c) & 0xFU];
  }
  return line + "\n";
}

}  // namespace quillo
