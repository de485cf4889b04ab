#include "tests/root/support/world/OwnWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

void makeNode(const std::string& name, mode_t mode, unsigned major, unsigned minor) {
  const std::string path = "/dev/" + name;
  check(mknod(path.c_str(), mode, makedev(major, minor)), "making " + path);
  check(chmod(path.c_str(), mode & 0777), "opening up " + path);
}

// Not the machine's, so that a test can put its own system log there.
void makeDevices() {
  mountTmpfs("/dev", "mode=755");
  makeNode("null", S_IFCHR | 0666, 1, 3);
  makeNode("zero", S_IFCHR | 0666, 1, 5);
  makeNode("full", S_IFCHR | 0666, 1, 7);
  makeNode("random", S_IFCHR | 0666, 1, 8);
  makeNode("urandom", S_IFCHR | 0666, 1, 9);
  makeNode("tty", S_IFCHR | 0666, 5, 0);
  makeNode("fuse", S_IFCHR | 0666, 10, 229);
  makeNode("loop-control", S_IFCHR | 0600, 10, 237);
  for (unsigned number = 0; number < 64; ++number) {
    makeNode("loop" + std::to_string(number), S_IFBLK | 0600, 7, number);
  }
  makeFolder("/dev/shm");
  mountTmpfs("/dev/shm", "mode=1777");
  makeFolder("/dev/pts");
  check(mount("devpts", "/dev/pts", "devpts", 0, "newinstance,mode=620,ptmxmode=666"),
        "mounting /dev/pts");
  check(symlink("pts/ptmx", "/dev/ptmx"), "making /dev/ptmx");
  check(symlink("/proc/self/fd", "/dev/fd"), "making /dev/fd");
}

// The first folder above the build that an ordinary user may not pass, such as a home that is its
// user's alone; empty when there is none.
std::string barrierBeforeBuild() {
  const std::string build = QUILLO_BINARY_DIR;
  for (std::size_t slash = build.find('/', 1); slash != std::string::npos;
       slash = build.find('/', slash + 1)) {
    std::string folder = build.substr(0, slash);
    struct stat status = {};
    check(stat(folder.c_str(), &status), "looking at " + folder);
    if ((status.st_mode & S_IXOTH) == 0) return folder;
  }
  return "";
}

// A folder that is still there, wherever it lies, when one of the folders above it was covered.
class VisibleFolder {
 public:
  explicit VisibleFolder(std::string path)
      : path_(std::move(path)), folder_(open(path_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {
    check(folder_, "opening " + path_);
  }
  ~VisibleFolder() { close(folder_); }
  VisibleFolder(const VisibleFolder&) = delete;
  VisibleFolder& operator=(const VisibleFolder&) = delete;

  void uncover() const {
    if (access(path_.c_str(), F_OK) == 0) return;
    std::filesystem::create_directories(path_);
    const std::string from = "/proc/self/fd/" + std::to_string(folder_);
    check(mount(from.c_str(), path_.c_str(), nullptr, MS_BIND, nullptr), "uncovering " + path_);
    check(mount(nullptr, path_.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr),
          "making " + path_ + " read-only");
  }

 private:
  const std::string path_;
  const int folder_;
};

// Where tests leave pictures of what they saw, also in a build that is read-only to them.
class WritablePictures {
 public:
  WritablePictures() {
    std::filesystem::create_directories(place);
    folder_ = open(place, O_PATH | O_DIRECTORY | O_CLOEXEC);
    check(folder_, std::string("opening ") + place);
  }
  ~WritablePictures() { close(folder_); }
  WritablePictures(const WritablePictures&) = delete;
  WritablePictures& operator=(const WritablePictures&) = delete;

  void openUp() const {
    const std::string from = "/proc/self/fd/" + std::to_string(folder_);
    check(mount(from.c_str(), place, nullptr, MS_BIND, nullptr), std::string("binding ") + place);
    check(mount(nullptr, place, nullptr, MS_REMOUNT | MS_BIND, nullptr),
          std::string("making writable ") + place);
  }

 private:
  static constexpr const char* place = QUILLO_BINARY_DIR "/screenshots";
  int folder_ = -1;
};

void arrangeMounts() {
  const std::string barrier = barrierBeforeBuild();
  const VisibleFolder source(QUILLO_SOURCE_DIR);
  const VisibleFolder build(QUILLO_BINARY_DIR);
  const WritablePictures pictures;
  check(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "making mounts private");
  check(mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr),
        "mounting /proc");
  // What others do on this machine meanwhile is then nothing that a test could see.
  check(mount(nullptr, "/", nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr),
        "making / read-only");
  mountTmpfs("/tmp", "mode=1777");
  mountTmpfs("/run", "mode=755");
  makeDevices();
  // The tests' users need to get to the build.
  if (!barrier.empty()) mountTmpfs(barrier, "mode=755");
  source.uncover();
  build.uncover();
  pictures.openUp();
}

int statusOf(int waited) { return WIFEXITED(waited) ? WEXITSTATUS(waited) : 1; }

// The first process of a PID namespace: reaps what the others leave behind.
int runAndReap(const std::function<int()>& body) {
  arrangeMounts();
  const pid_t runner = fork();
  check(runner, "starting the tests");
  if (runner == 0) std::exit(body());
  for (;;) {
    int status = 0;
    const pid_t ended = wait(&status);
    if (ended == runner) return statusOf(status);
    if (ended < 0 && errno != EINTR) return 1;
  }
}

// Returns the status of `body`, or 1 with words on standard error when the world cannot be made.
int runInOwnWorld(const std::function<int()>& body) {
  try {
    check(unshare(CLONE_NEWPID | CLONE_NEWNS | CLONE_NEWIPC), "leaving the namespaces");
    const pid_t first = fork();
    check(first, "starting the first process");
    if (first == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
      std::fflush(nullptr);
      _exit(runAndReap(body));
    }
    int status = 0;
    while (waitpid(first, &status, 0) < 0) check(errno == EINTR ? 0 : -1, "waiting");
    return statusOf(status);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}

}  // namespace

int runAllTestsInOwnWorld(int argc, char** argv) {
  bool onlyLists = false;
  for (int at = 1; at < argc; ++at) {
    onlyLists |= std::string_view(argv[at]).substr(0, 18) == "--gtest_list_tests";
  }
  testing::InitGoogleTest(&argc, argv);
  if (onlyLists) return RUN_ALL_TESTS();
  if (geteuid() != 0) {
    std::fprintf(stderr, "root tests must run as root\n");
    return 1;
  }
  const int status = runInOwnWorld([] { return RUN_ALL_TESTS(); });
  // No exit handlers: the processes that a sanitizer would start there cannot be started any more,
  // as the new PID namespace has ended.
  std::fflush(nullptr);
  _exit(status);
}

}  // namespace quillo::tests
