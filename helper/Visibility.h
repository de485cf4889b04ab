#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <optional>
#include <string>

namespace quillo::helper {

// Which file it is, whatever its name.
struct Identity {
  dev_t device = 0;
  ino_t inode = 0;

  Identity() = default;
  explicit Identity(const struct stat& info) : device(info.st_dev), inode(info.st_ino) {}
  bool operator==(const Identity&) const = default;
};

// A folder under one of the paths that the caller gets to it by. What in it may be reported to the
// caller is decided when it is reported (Sight).
struct Place {
  std::string prefix;  // the path, with a slash at its end
};

// Returns the folder `identity` at `path`, or nothing unless the caller gets to it there without
// following a link: every folder on the way must be searchable. Asks the kernel with the caller's
// own rights.
std::optional<Place> placeFor(const std::string& path, const Identity& identity);

// Returns true while the caller still gets to the folder at `place`. Cheaper than placeFor().
bool isStillAt(const Place& place, const Identity& identity);

// Returns true when the caller may read the open folder and search it, and so know all names in it.
bool isListable(int folder);

// Returns what lstat(2) finds as the caller; nothing if it fails.
std::optional<Identity> identify(const std::string& path);

// Returns what the kernel calls the open file now (a path that may not lead to it); nothing if it
// has no path, or one that is longer than PATH_MAX.
std::optional<std::string> pathOfDescriptor(int fd);

// Open a folder without following a link, on its whole path or at a name in an open folder. Return
// -1 and set errno on failure.
int openFolder(const std::string& path, int flags);
int openFolderAt(int folder, const std::string& name, int flags);

}  // namespace quillo::helper
