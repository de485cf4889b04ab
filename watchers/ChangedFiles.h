#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "posix/FolderReader.h"
#include "posix/MountTable.h"
#include "posix/UniqueFd.h"

namespace quillo {

// Looks through folders for files that have changed, by themselves or with the folder that they lie
// in. Enters what the helper watches: local file systems that this user can change. Follows no link
// below the folder that it is given. Holds a path, and at most 64 open folders, whatever there is
// to look at; of folders that lie deeper it also holds the names. Owned by one thread.
class ChangedFiles {
 public:
  using Time = std::chrono::system_clock::time_point;
  struct Services {
    // Is given each file that has changed, by its real path.
    std::function<void(const std::string& path)> handOver;
    // Asked before each name: the walk ends once it returns true.
    std::function<bool()> isOver;
  };
  struct Count {
    std::uint64_t files = 0;
    std::uint64_t folders = 0;
    std::uint64_t unreadable = 0;  // folders
    bool isShort = false;          // some of them for want of descriptors or memory
  };

  // Finds regular files, but empty ones, whose status (stat(2), st_ctime) changed at `since` or
  // later. All files below a folder that was itself moved or given other rights since then count as
  // changed: moving it leaves no trace in them.
  ChangedFiles(Time since, Services services);

  // Looks through a folder, or at a file, links to it followed; with everything below it if so
  // wanted. What was looked through before is left out. Returns false when what is mounted cannot
  // be read, and nothing was looked at therefore.
  bool look(const std::string& place, bool withSubfolders);
  const Count& count() const { return count_; }

 private:
  struct Identity {
    dev_t device = 0;
    ino_t number = 0;
    bool operator==(const Identity&) const = default;
  };
  struct Level {
    Identity folder;
    bool isWhole = false;
    std::size_t parent = 0;  // length of the path without this folder's name
    std::unique_ptr<FolderReader> reader;
    std::vector<std::string> folders;  // those left to enter, where there is no reader any more
  };

  bool readMounts();
  bool enter(UniqueFd folder, std::size_t parent, bool isTop);
  void walk(bool withSubfolders);
  void readNames(Level& level);
  void descend(const std::string& name);
  void lookAt(int folder, const char* name, bool isWhole);
  bool isChanged(const timespec& time) const;

  const timespec since_;
  const Services services_;
  Count count_;
  // The agent's own log, which grows with whatever is said of a file.
  Identity log_;
  MountTable table_;
  std::vector<Mount> mounts_;
  std::set<std::string> unwatched_;  // mount points
  std::vector<std::string> done_;
  // Of the folder that is looked at, with a "/" at its end, or of the file.
  std::string path_;
  std::vector<Level> levels_;
};

}  // namespace quillo
