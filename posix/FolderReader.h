#pragma once

#include <dirent.h>

#include <memory>
#include <string>
#include <vector>

#include "posix/FileFacts.h"
#include "posix/UniqueFd.h"

namespace quillo {

// The entries of an open folder but "." and "..", in no order. Owned by one thread.
class FolderReader {
 public:
  // Is false, with errno, when the folder cannot be opened, or is a link where links are refused.
  explicit FolderReader(const std::string& path, Links links = Links::refused);
  // Takes over an open folder, or none.
  explicit FolderReader(UniqueFd folder);
  explicit operator bool() const { return folder_ != nullptr; }

  int descriptor() const { return dirfd(folder_.get()); }
  // Returns the next entry, valid until the next call; null at the end and, with an errno other
  // than 0, when the folder cannot be read on. readdir(3).
  const dirent* next();
  // Returns the entry's type as in dirent(3), also where the file system does not say it along with
  // the name; DT_UNKNOWN when the entry has gone.
  unsigned char typeOf(const dirent& entry) const;

 private:
  std::unique_ptr<DIR, int (*)(DIR*)> folder_;
};

// Appends the path of everything below the folder: `folder` (which ends in "/") followed by each
// relative path; all levels, hidden entries and folders themselves included. Links are not
// followed. A folder that cannot be read, or vanishes meanwhile, is passed over. Any thread.
void appendEverythingBelow(const std::string& folder, std::vector<std::string>& paths);

}  // namespace quillo
