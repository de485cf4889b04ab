#include "platform/linux/names/LinuxTrashFolders.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace quillo {
namespace {

bool liesIn(std::string_view path, std::string_view folderWithSlash) {
  return path.size() > folderWithSlash.size() &&
         path.substr(0, folderWithSlash.size()) == folderWithSlash;
}

bool leavesItsFolders(std::string_view path) {
  return path.find("/../") != std::string_view::npos ||
         (path.size() >= 3 && path.substr(path.size() - 3) == "/..");
}

// The folder as it is called, and where it really lies: what changes in it is reported there.
std::vector<std::string> bothNames(const std::string& parent, const std::string& name) {
  std::vector<std::string> folders = {parent + name};
  std::error_code failure;
  const std::string real = std::filesystem::canonical(parent, failure).string();
  if (!failure && real != parent) {
    folders.push_back((real == "/" ? "" : real) + name);
  }
  return folders;
}

std::vector<std::string> trashesOf(const std::string& dataFolder, const std::string& home) {
  std::vector<std::string> trashes = bothNames(dataFolder, "/Trash/");
  for (std::string& other : bothNames(home, "/.Trash/")) {
    trashes.push_back(std::move(other));
  }
  return trashes;
}

}  // namespace

LinuxTrashFolders::LinuxTrashFolders(const Environment& environment, const std::string& home,
                                     uid_t user)
    : homeTrashes_(
          trashesOf(environment.folder("XDG_DATA_HOME").value_or(home + "/.local/share"), home)),
      volumeTrashes_{"/.Trash/" + std::to_string(user) + "/",
                     "/.Trash-" + std::to_string(user) + "/"} {}

bool LinuxTrashFolders::isEnclosedByTrash(const std::string& path) {
  if (leavesItsFolders(path)) {
    return false;
  }
  if (std::any_of(homeTrashes_.begin(), homeTrashes_.end(),
                  [&](const std::string& trash) { return liesIn(path, trash); })) {
    return true;
  }
  for (const std::string& trash : volumeTrashes_) {
    // A folder of that name elsewhere is no trash, and what lies in it is to be scanned.
    for (std::size_t at = path.find(trash); at != std::string::npos;
         at = path.find(trash, at + 1)) {
      if (at + trash.size() < path.size() &&
          mountPoints_.contain(at == 0 ? "/" : path.substr(0, at))) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace quillo
