#include "tools/clamdscan/FolderWalk.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

#include "posix/UniqueFd.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::front {
namespace {

// Each level of a walk keeps one descriptor open.
constexpr std::size_t deepest = 256;

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

Folder openFolder(int parent, const char* name) {
  UniqueFd descriptor(
      openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  DIR* const folder = descriptor ? fdopendir(descriptor.get()) : nullptr;
  if (folder != nullptr) {
    descriptor.release();
  }
  return Folder(folder);
}

class Walk {
 public:
  Walk(const std::string& root, const FolderWalk::Visitor& visitor)
      : root_(root), path_(root), visitor_(visitor) {}

  FolderWalk::Findings run() {
    const UniqueFd root = openPath(root_, O_PATH | O_DIRECTORY);
    enter(root.get(), ".");
    while (!levels_.empty()) {
      Level& level = levels_.back();
      path_.resize(level.pathLength);
      errno = 0;
      const dirent* const entry = readdir(level.folder.get());
      if (entry != nullptr) {
        meet(*entry);
        continue;
      }
      if (errno != 0) {
        visitor_.obstacle(path_, reasonText(errno));
      }
      levels_.pop_back();
    }
    return findings_;
  }

 private:
  struct Level {
    Folder folder;
    std::size_t pathLength;
  };

  void enter(int parent, const char* name) {
    if (levels_.size() == deepest) {
      visitor_.obstacle(path_, "folders nested too deeply");
      return;
    }
    Folder folder = openFolder(parent, name);
    if (!folder) {
      visitor_.obstacle(path_, reasonText(errno));
      return;
    }
    findings_.depth = std::max(findings_.depth, static_cast<int>(levels_.size()));
    levels_.push_back({std::move(folder), path_.size()});
  }

  void meet(const dirent& entry) {
    const std::string_view name = entry.d_name;
    if (name == "." || name == "..") {
      return;
    }
    path_ += path_.back() == '/' ? "" : "/";
    path_ += name;
    findings_.lineBreaks = findings_.lineBreaks || name.find('\n') != std::string_view::npos;
    findings_.longestPath = std::max(findings_.longestPath, path_.size());
    const int parent = dirfd(levels_.back().folder.get());
    if (entry.d_type == DT_DIR) {
      enter(parent, entry.d_name);
      return;
    }
    struct stat status = {};
    if (fstatat(parent, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
      if (errno != ENOENT) {
        visitor_.obstacle(path_, reasonText(errno));
      }
    } else if (S_ISDIR(status.st_mode)) {
      enter(parent, entry.d_name);
    } else if (S_ISREG(status.st_mode)) {
      visitor_.file(path_, status);
    } else if (S_ISLNK(status.st_mode)) {
      follow(parent, entry.d_name);
    } else {
      visitor_.obstacle(path_, typeText(status.st_mode));
    }
  }

  void follow(int parent, const char* name) {
    const UniqueFd target(openat(parent, name, O_PATH | O_CLOEXEC));
    if (!target) {
      visitor_.obstacle(path_, errno == ENOENT  ? "dangling symbolic link"
                               : errno == ELOOP ? "symbolic link that leads to itself"
                                                : reasonText(errno));
      return;
    }
    const std::string real = pathOf(target.get());
    const bool inside = root_ == "/" || real == root_ ||
                        (real.size() > root_.size() && real[root_.size()] == '/' &&
                         real.compare(0, root_.size(), root_) == 0);
    if (!inside) {
      visitor_.obstacle(path_, "symbolic link to outside of this folder");
    }
  }

  const std::string& root_;
  std::string path_;
  const FolderWalk::Visitor& visitor_;
  std::vector<Level> levels_;
  FolderWalk::Findings findings_;
};

}  // namespace

FolderWalk::Findings FolderWalk::through(const std::string& root, const Visitor& visitor) {
  return Walk(root, visitor).run();
}

}  // namespace quillo::front
