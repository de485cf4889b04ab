#include "companion/scan/FileCount.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "posix/FolderReader.h"

namespace quillo {

void FileCount::count(const std::vector<std::string>& paths) {
  std::vector<std::string> folders;
  for (const std::string& path : paths) {
    add(path, folders);
  }
  while (!folders.empty() && mayGoOn()) {
    const std::string folder = std::move(folders.back());
    folders.pop_back();
    addFolder(folder, folders);
  }
  MutexLock hold(lock_);
  sum_.isWhole = folders.empty() && !isStopped_ && sum_.files < most;
}

// A link that was chosen itself is followed, as the scanner follows it.
void FileCount::add(const std::string& path, std::vector<std::string>& folders) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) {
    return;
  }
  if (S_ISDIR(status.st_mode)) {
    folders.push_back(path + "/");
  } else {
    addFile(S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0);
  }
}

void FileCount::addFolder(const std::string& folder, std::vector<std::string>& folders) {
  FolderReader reader(folder, folder.ends_with('/') ? Links::followed : Links::refused);
  const std::string prefix = folder.ends_with('/') ? folder : folder + "/";
  while (const dirent* entry = reader.next()) {
    if (!mayGoOn()) {
      return;
    }
    struct stat status = {};
    if (fstatat(reader.descriptor(), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
      continue;
    }
    if (S_ISDIR(status.st_mode)) {
      folders.push_back(prefix + entry->d_name);
    } else if (!S_ISLNK(status.st_mode)) {
      addFile(S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0);
    }
  }
}

void FileCount::addFile(std::uint64_t bytes) {
  MutexLock hold(lock_);
  ++sum_.files;
  sum_.bytes += bytes;
}

bool FileCount::mayGoOn() {
  MutexLock hold(lock_);
  return !isStopped_ && sum_.files < most;
}

void FileCount::stop() {
  MutexLock hold(lock_);
  isStopped_ = true;
}

FileCount::Sum FileCount::sum() {
  MutexLock hold(lock_);
  return sum_;
}

}  // namespace quillo
