#include "tests/root/support/world/FilesAndMounts.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "posix/MountTable.h"
#include "posix/Text.h"

namespace quillo::tests {
namespace {

// The mount points at and below `folder`, the last mounted first.
std::vector<std::string> mountsBelow(const std::string& folder) {
  std::vector<std::string> points;
  for (const Mount& mount : MountTable().read().value_or(std::vector<Mount>())) {
    const bool isThere = mount.point == folder || liesBelow(mount.point, folder);
    if (isThere) points.insert(points.begin(), mount.point);
  }
  return points;
}

}  // namespace

int check(int result, const std::string& what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

void makeFolder(const std::string& path, mode_t mode) {
  check(mkdir(path.c_str(), mode), "making the folder " + path);
  check(chmod(path.c_str(), mode), "setting the mode of " + path);
}

void writeFile(const std::string& path, std::string_view text) {
  // In a folder where everybody may write, a system may refuse O_CREAT for what somebody else's
  // name lies at already (proc_sys_fs(5), protected_regular).
  int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  if (fd < 0) fd = check(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644), path);
  const ssize_t wrote = write(fd, text.data(), text.size());
  close(fd);
  if (wrote != static_cast<ssize_t>(text.size())) throw std::runtime_error("writing " + path);
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("opening " + path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void moveFile(const std::string& from, const std::string& to) {
  check(rename(from.c_str(), to.c_str()), "moving " + from);
}

void mountTmpfs(const std::string& point, const std::string& options) {
  check(mount("tmpfs", point.c_str(), "tmpfs", 0, options.c_str()), "mounting " + point);
}

void runProgram(const std::vector<std::string>& arguments) {
  std::vector<char*> vector;
  for (const std::string& argument : arguments)
    vector.push_back(const_cast<char*>(argument.c_str()));
  vector.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  errno = posix_spawnp(&child, vector[0], &actions, nullptr, vector.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  check(errno == 0 ? 0 : -1, "running " + arguments[0]);
  int status = 0;
  check(waitpid(child, &status, 0), "waiting for " + arguments[0]);
  if (status != 0) throw std::runtime_error(arguments[0] + " failed");
}

FolderOfMounts::FolderOfMounts() {
  check(chmod(path().c_str(), 0755), "setting the mode of " + path());
}

FolderOfMounts::~FolderOfMounts() {
  for (const std::string& point : mountsBelow(path())) umount2(point.c_str(), MNT_DETACH);
}

LoopMount::LoopMount(const std::string& type, const std::string& point, const std::string& options)
    : point_(point), image_("/tmp/image-XXXXXX") {
  const int fd = check(mkstemp(image_.data()), "making an image");
  close(fd);
  check(truncate(image_.c_str(), off_t{512} << 20), "enlarging " + image_);
  runProgram({"mkfs." + type, "-q", image_});
  runProgram({"mount", "-t", type, "-o", "loop," + options, image_, point});
}

LoopMount::~LoopMount() {
  umount2(point_.c_str(), MNT_DETACH);
  unlink(image_.c_str());
}

std::string LoopMount::device() const {
  std::string found;
  for (const Mount& mount : MountTable().read().value_or(std::vector<Mount>())) {
    if (mount.point == point_) found = mount.source;
  }
  return found;
}

}  // namespace quillo::tests
