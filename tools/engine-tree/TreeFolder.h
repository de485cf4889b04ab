#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

#include "posix/UniqueFd.h"

namespace quillo {

// An opened folder of an engine tree. It belongs to this process's user, nobody else may write to
// it, and no symbolic link is followed in it. Every failure is a PlatformException that names the
// path and the reason. One thread.
class TreeFolder {
 public:
  // Opens `path`, an absolute one, and makes it and the folders above it where they are missing.
  // Refuses a path through a link, or below a folder, that another user could have planted.
  static TreeFolder openOrMake(const std::string& path);
  // Opens what is there; returns nothing when it is missing. Checks no owner: for reading only.
  static std::optional<TreeFolder> open(const std::string& path);

  // Return the folder `name` in this one, made where it is missing; the second one root hands to
  // the account which the engine runs as.
  TreeFolder subfolder(const std::string& name) const;
  TreeFolder subfolderOf(const std::string& name, uid_t user, gid_t group) const;

  // Returns the content of a regular file; nothing when there is none.
  std::optional<std::string> read(const std::string& name) const;
  // Replaces a file as a whole, so that a reader sees the old or the new content and a crash
  // leaves one of them. Returns false when it already had this content and mode.
  bool write(const std::string& name, std::string_view content, mode_t mode) const;
  // Returns false when there was none.
  bool remove(const std::string& name) const;

  // Keeps others out who lock the same name, for as long as the descriptor is open. It is that of a
  // file which only the owner can open: a lock on the folder itself could be held by whoever can
  // read it, for ever.
  [[nodiscard]] UniqueFd lock(const std::string& name) const;

  const std::string& path() const { return path_; }

 private:
  TreeFolder(std::string path, UniqueFd folder)
      : path_(std::move(path)), folder_(std::move(folder)) {}

  std::string path_;
  UniqueFd folder_;
};

}  // namespace quillo
