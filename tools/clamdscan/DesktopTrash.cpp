#include "tools/clamdscan/DesktopTrash.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>

#include "posix/Accounts.h"
#include "posix/FileFacts.h"
#include "posix/FileUri.h"
#include "posix/OwnFile.h"
#include "posix/Text.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::wrapper {
namespace {

constexpr char noteEnd[] = ".trashinfo";
static_assert(DesktopTrash::longestName + sizeof(noteEnd) - 1 <= NAME_MAX);

std::string withoutSlashAtEnd(std::string path) {
  while (!path.empty() && path.back() == '/') {
    path.pop_back();
  }
  return path;
}

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

bool isThisUsers(const std::string& folder) {
  struct stat status = {};
  return stat(folder.c_str(), &status) == 0 && status.st_uid == geteuid();
}

std::string localTime(DesktopTrash::Time time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm parts = {};
  localtime_r(&seconds, &parts);
  std::array<char, 32> text;
  return std::string(text.data(),
                     std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts));
}

}  // namespace

DesktopTrash::DesktopTrash(const std::string& home, const std::string& dataHome) {
  const std::string own = withoutSlashAtEnd(home);
  const bool elsewhere = !dataHome.empty() && dataHome.front() == '/';
  if (own.empty() && !elsewhere) {
    return;
  }
  folder_ = (elsewhere ? withoutSlashAtEnd(dataHome) : own + "/.local/share") + "/Trash";
  if (!own.empty() && own.front() == '/' && isThisUsers(own)) {
    link_ = own + "/.Trash";
    // So that it still leads there when the home moves.
    const bool below = liesBelow(folder_, own);
    target_ = (below ? folder_.substr(own.size() + 1) : folder_) + "/files";
  }
}

DesktopTrash DesktopTrash::ofThisUser() {
  const std::string home = variable("HOME");
  return {home.empty() || home.front() != '/' ? accountNumbered(geteuid()).home : home,
          variable("XDG_DATA_HOME")};
}

void DesktopTrash::linkFrom(const std::string& path) const {
  struct stat status = {};
  if (link_.empty() || path != link_ || stat(path.c_str(), &status) == 0 || errno != ENOENT) {
    return;
  }
  const bool nothing = lstat(path.c_str(), &status) != 0 && errno == ENOENT;
  if (!nothing && targetOfLink(path) != target_) {
    return;
  }
  if (makeFolders(folder_ + "/info") == 0 && makeFolders(folder_ + "/files") == 0 && nothing) {
    // Another run may have been faster, with the same link.
    [[maybe_unused]] const int ignored = symlink(target_.c_str(), path.c_str());
  }
}

UniqueFd DesktopTrash::notesFor(int folder) const {
  struct stat opened = {};
  struct stat files = {};
  if (folder_.empty() || fstat(folder, &opened) != 0 ||
      stat((folder_ + "/files").c_str(), &files) != 0 || opened.st_dev != files.st_dev ||
      opened.st_ino != files.st_ino || makeFolders(folder_ + "/info") != 0) {
    return UniqueFd();
  }
  return openPath(folder_ + "/info", O_RDONLY | O_DIRECTORY);
}

int DesktopTrash::note(int notes, const std::string& name, const std::string& origin, Time left) {
  const std::string file = name + noteEnd;
  const UniqueFd target(
      openat(notes, file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!target) {
    return errno;
  }
  const std::string text = "[Trash Info]\nPath=" + percentEncodedPath(origin) +
                           "\nDeletionDate=" + localTime(left) + "\n";
  const int error = writeAll(target.get(), text) ? 0 : errno;
  if (error != 0) {
    forget(notes, name);
  }
  return error;
}

void DesktopTrash::forget(int notes, const std::string& name) {
  unlinkat(notes, (name + noteEnd).c_str(), 0);
}

}  // namespace quillo::wrapper
