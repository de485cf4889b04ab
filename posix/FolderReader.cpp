#include "posix/FolderReader.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <string_view>
#include <utility>

namespace quillo {

FolderReader::FolderReader(const std::string& path, Links links)
    : FolderReader(UniqueFd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC |
                                                   (links == Links::refused ? O_NOFOLLOW : 0)))) {}

FolderReader::FolderReader(UniqueFd folder)
    : folder_(folder ? fdopendir(folder.get()) : nullptr, closedir) {
  if (folder_) {
    folder.release();
  }
}

const dirent* FolderReader::next() {
  for (;;) {
    errno = 0;
    const dirent* const entry = folder_ ? readdir(folder_.get()) : nullptr;
    const std::string_view name = entry ? entry->d_name : "";
    if (name != "." && name != "..") {
      return entry;
    }
  }
}

unsigned char FolderReader::typeOf(const dirent& entry) const {
  struct stat status = {};
  if (entry.d_type != DT_UNKNOWN ||
      fstatat(descriptor(), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return entry.d_type;
  }
  return static_cast<unsigned char>(IFTODT(status.st_mode));
}

// Folder by folder, so that one that vanishes meanwhile costs what lies in it and nothing else.
void appendEverythingBelow(const std::string& folder, std::vector<std::string>& paths) {
  std::vector<std::string> folders{folder};
  while (!folders.empty()) {
    std::string current = std::move(folders.back());
    folders.pop_back();
    FolderReader reader(current);
    current += current.ends_with('/') ? "" : "/";
    while (const dirent* entry = reader.next()) {
      paths.push_back(current + entry->d_name);
      if (reader.typeOf(*entry) == DT_DIR) {
        folders.push_back(paths.back());
      }
    }
  }
}

}  // namespace quillo
