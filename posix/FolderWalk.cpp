#include "posix/FolderWalk.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace quillo {

// Folder by folder, so that one that vanishes meanwhile costs what lies in it and nothing else.
void appendEverythingBelow(const std::string& folder, std::vector<std::string>& paths) {
  namespace fs = std::filesystem;
  std::vector<std::string> folders{folder};
  while (!folders.empty()) {
    const std::string current = std::move(folders.back());
    folders.pop_back();
    std::error_code failure;
    fs::directory_iterator entry(current, failure);
    while (!failure && entry != fs::directory_iterator()) {
      paths.push_back(entry->path().string());
      std::error_code unknown;
      if (fs::is_directory(entry->symlink_status(unknown))) {
        folders.push_back(paths.back());
      }
      entry.increment(failure);
    }
  }
}

}  // namespace quillo
