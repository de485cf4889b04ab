#include "tools/engine-tree/SocketFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "posix/FolderReader.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"
#include "posix/UniqueFd.h"
#include "tools/engine-tree/AppArmor.h"

namespace quillo {
namespace {

constexpr std::string_view name = "vantrel-clamd-";
constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int deepestFolder = 64;  // the daemon's own scratch folders are two deep
// What unix(7) allows is 107 bytes, and some readers take no more than 104.
constexpr std::size_t longestPlace = 60;

std::string prefixIn(const std::string& place, const SocketFolderRequest& request) {
  return place + "/" + std::string(name) + std::to_string(request.account.user) + "-";
}

mode_t modeOf(const SocketFolderRequest& request) { return request.forEveryone ? 0755 : 0700; }

// A folder of the same owner and mode on another file system is one that somebody has mounted.
bool isOurs(const SocketFolderRequest& request, const std::string& folder,
            const struct stat& status) {
  struct stat above = {};
  return S_ISDIR(status.st_mode) && status.st_uid == request.account.user &&
         (status.st_mode & 07777) == modeOf(request) &&
         stat(deletingLastPathComponent(folder).c_str(), &above) == 0 &&
         above.st_dev == status.st_dev;
}

bool isOurs(const SocketFolderRequest& request, const std::string& folder) {
  struct stat status = {};
  return lstat(folder.c_str(), &status) == 0 && isOurs(request, folder, status);
}

// Only just made by this process, so that nobody else can have put anything in its place: `folder`
// lies in a folder with the sticky bit, or in one of our own.
bool handOver(const SocketFolderRequest& request, const std::string& folder) {
  const Account& account = request.account;
  if (account.user != geteuid() && lchown(folder.c_str(), account.user, account.group) != 0) {
    return false;
  }
  return chmod(folder.c_str(), modeOf(request)) == 0 && isOurs(request, folder);
}

bool beginsWith(const std::string& folder, const std::string& prefix) {
  return folder.size() > prefix.size() && folder.starts_with(prefix);
}

// Made by an earlier run, in the right place then.
bool isRememberedOurs(const SocketFolderRequest& request) {
  const std::string& folder = request.remembered;
  return beginsWith(folder, prefixIn(deletingLastPathComponent(folder), request)) &&
         isOurs(request, folder);
}

// Follows no link and leaves no file system.
void emptyFolder(UniqueFd folder, dev_t device, int depth) {
  FolderReader entries(std::move(folder));
  for (const dirent* entry; depth > 0 && (entry = entries.next()) != nullptr;) {
    if (unlinkat(entries.descriptor(), entry->d_name, 0) == 0) {
      continue;
    }
    UniqueFd below(openat(entries.descriptor(), entry->d_name, folderFlags));
    struct stat status = {};
    if (below && fstat(below.get(), &status) == 0 && status.st_dev == device) {
      emptyFolder(std::move(below), device, depth - 1);
      unlinkat(entries.descriptor(), entry->d_name, AT_REMOVEDIR);
    }
  }
}

void removeRemembered(const SocketFolderRequest& request) {
  UniqueFd folder(open(request.remembered.c_str(), folderFlags));
  struct stat status = {};
  if (folder && fstat(folder.get(), &status) == 0 && isOurs(request, request.remembered, status)) {
    emptyFolder(std::move(folder), status.st_dev, deepestFolder);
    rmdir(request.remembered.c_str());
  }
}

std::string makeFolder(const SocketFolderRequest& request) {
  const std::string prefix = prefixIn(request.place, request);
  if (beginsWith(request.remembered, prefix) &&
      request.remembered.find('/', prefix.size()) == std::string::npos &&
      mkdir(request.remembered.c_str(), 0700) == 0 && handOver(request, request.remembered)) {
    return request.remembered;
  }
  // A name that nobody can have guessed.
  std::string fresh = prefix + "XXXXXX";
  if (mkdtemp(fresh.data()) == nullptr || !handOver(request, fresh)) {
    throw PlatformException::ofSystemCall(
        "TreeFailure", "cannot make a folder for the socket of clamd in " + request.place, errno);
  }
  return fresh;
}

bool isPlain(const std::string& path) {
  return !path.empty() && path.front() == '/' && path.size() <= longestPlace &&
         std::all_of(path.begin(), path.end(),
                     [](char c) { return c > ' ' && c <= '~' && c != '"' && c != '\\'; });
}

}  // namespace

std::string socketPlace(const MachinePlaces& places, bool forEveryone) {
  const std::string& runtime = places.runtime;
  struct stat status = {};
  const bool isUsers = isPlain(runtime) && lstat(runtime.c_str(), &status) == 0 &&
                       S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
                       (status.st_mode & 07777) == 0700;
  return isUsers && !forEveryone && !isDaemonConfined(places) ? runtime : places.temporary;
}

std::string keepSocketFolder(const SocketFolderRequest& request) {
  return isRememberedOurs(request) ? request.remembered : makeFolder(request);
}

std::string renewSocketFolder(const SocketFolderRequest& request) {
  if (isRememberedOurs(request)) {
    removeRemembered(request);
  }
  return makeFolder(request);
}

}  // namespace quillo
