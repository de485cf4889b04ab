#include "posix/FolderWalk.h"

#include <filesystem>
#include <system_error>

namespace quillo {

void appendEverythingBelow(const std::string& folder, std::vector<std::string>& paths) {
  namespace fs = std::filesystem;
  std::error_code failure;
  fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied,
                                         failure);
  while (!failure && entry != fs::recursive_directory_iterator()) {
    paths.push_back(entry->path().string());
    entry.increment(failure);
  }
}

}  // namespace quillo
