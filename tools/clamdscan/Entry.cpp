#include "tools/clamdscan/Entry.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include "tools/clamdscan/Paths.h"

namespace quillo::wrapper {
namespace {

std::string realPath(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                         &std::free);
  return real ? std::string(real.get()) : std::string();
}

std::string shownPath(const std::string& given) {
  std::array<char, PATH_MAX> folder;
  if ((!given.empty() && given[0] == '/') || getcwd(folder.data(), folder.size()) == nullptr) {
    return given;
  }
  return given == "." ? std::string(folder.data()) : std::string(folder.data()) + "/" + given;
}

void setKind(Entry& entry) {
  if (S_ISREG(entry.status.st_mode)) {
    entry.kind = Entry::Kind::file;
  } else if (S_ISDIR(entry.status.st_mode)) {
    entry.kind = Entry::Kind::folder;
  } else {
    entry.reason = typeText(entry.status.st_mode);
  }
}

Entry unscannable(Entry entry, int error) {
  struct stat status = {};
  const bool link = statusOf(entry.shown, status) == 0 && S_ISLNK(status.st_mode);
  if (link && error == ENOENT) {
    entry.reason = "dangling symbolic link";
  } else if (link && error == ELOOP) {
    entry.reason = "symbolic link that leads to itself";
  } else {
    entry.reason = reasonText(error);
  }
  return entry;
}

bool endsPlainly(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string_view name = std::string_view(path).substr(slash + 1);
  return slash != 0 && !name.empty() && name != "." && name != "..";
}

}  // namespace

Entry PathResolver::resolve(const std::string& given) {
  Entry entry;
  entry.shown = shownPath(given);
  if (given.empty()) {
    return unscannable(std::move(entry), ENOENT);
  }
  if (entry.shown.size() >= PATH_MAX) {
    return resolveLong(std::move(entry));
  }
  if (!endsPlainly(entry.shown)) {
    return resolveFully(std::move(entry));
  }
  const std::size_t slash = entry.shown.rfind('/');
  const std::string& folder = realFolder(entry.shown.substr(0, slash));
  if (folder.empty()) {
    return unscannable(std::move(entry), errno);
  }
  entry.path = (folder == "/" ? std::string() : folder) + entry.shown.substr(slash);
  if (const int error = statusOf(entry.path, entry.status); error != 0) {
    return unscannable(std::move(entry), error);
  }
  if (S_ISLNK(entry.status.st_mode)) {
    return resolveFully(std::move(entry));
  }
  setKind(entry);
  return entry;
}

Entry PathResolver::resolveFully(Entry entry) {
  entry.path = realPath(entry.shown);
  if (entry.path.empty()) {
    return unscannable(std::move(entry), errno);
  }
  if (const int error = statusOf(entry.path, entry.status); error != 0) {
    return unscannable(std::move(entry), error);
  }
  setKind(entry);
  return entry;
}

Entry PathResolver::resolveLong(Entry entry) {
  const UniqueFd file = openPath(entry.shown, O_PATH);
  if (!file || fstat(file.get(), &entry.status) != 0) {
    return unscannable(std::move(entry), errno);
  }
  const std::string real = pathOf(file.get());
  entry.path = real.empty() ? entry.shown : real;
  setKind(entry);
  return entry;
}

const std::string& PathResolver::realFolder(const std::string& folder) {
  const auto known = folders_.find(folder);
  if (known != folders_.end()) {
    return known->second;
  }
  static const std::string none;
  std::string real = realPath(folder);
  if (real.empty()) {
    return none;
  }
  return folders_.emplace(folder, std::move(real)).first->second;
}

}  // namespace quillo::wrapper
