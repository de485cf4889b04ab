#include "helper/Reporter.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <vector>

#include "helper/Failure.h"
#include "posix/FolderReader.h"

namespace quillo::helper {
namespace {

struct Contents {
  int mount = -1;
  Identity identity;
  std::vector<std::string> files;
  std::vector<std::string> folders;
};

// What the caller can list. The folder is closed again before anything is reported, as that can
// block.
Contents list(const std::string& path) {
  Contents contents;
  FolderReader folder(UniqueFd(openFolder(path, O_RDONLY | O_NONBLOCK)));
  struct stat info {};
  if (!folder || fstat(folder.descriptor(), &info) < 0) return contents;
  contents.mount = mountOf(folder.descriptor());
  contents.identity = Identity(info);
  while (const dirent* entry = folder.next()) {
    const unsigned char type = folder.typeOf(*entry);
    if (type == DT_DIR) contents.folders.emplace_back(entry->d_name);
    if (type == DT_REG || type == DT_LNK) contents.files.emplace_back(entry->d_name);
  }
  return contents;
}

}  // namespace

void Reporter::reportFile(const Folder& folder, std::string_view name) {
  for (const Place& place : folder.places) {
    if (!log_.isLog(folder, place, name)) reportPath(place.prefix, name);
  }
}

void Reporter::reportFilesBelow(const Folder& folder, std::string_view name) {
  for (const Place& place : folder.places) walk(std::string(place.prefix).append(name));
}

void Reporter::walk(const std::string& top) {
  std::vector<std::string> pending{top};
  int mount = -1;
  while (!pending.empty()) {
    const std::string path = std::move(pending.back());
    pending.pop_back();
    const Contents contents = list(path);
    if (mount < 0) mount = contents.mount;
    if (contents.mount < 0 || contents.mount != mount) continue;
    Folder folder{contents.identity, {Place{path + '/'}}};
    for (const std::string& file : contents.files) reportFile(folder, file);
    for (const std::string& below : contents.folders) pending.push_back(path + '/' + below);
  }
}

void Reporter::reportPath(std::string_view prefix, std::string_view name) {
  if (!lines_.add(prefix, name)) complain(prefix, name);
}

void Reporter::complain(std::string_view prefix, std::string_view name) {
  const bool isSeen = witness_.sees(prefix, name);
  witness_.forget();
  // On some systems a user can read in the system log what the user's own processes say.
  if (!isSeen) return;
  const std::string path = std::string(prefix).append(name);
  if (complained_.size() >= 4096) complained_.clear();
  if (!complained_.insert(std::hash<std::string>()(path)).second) return;
  logWarning("a changed file is not scanned, as its path is too long to be told: " + escaped(path));
}

}  // namespace quillo::helper
