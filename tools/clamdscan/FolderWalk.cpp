#include "tools/clamdscan/FolderWalk.h"

#include <fcntl.h>

#include <cerrno>
#include <vector>

#include "posix/FolderReader.h"
#include "posix/Text.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::wrapper {
namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

class Walk {
 public:
  Walk(const std::string& root, const FolderWalk::Visitor& visitor, std::size_t deepest)
      : root_(root), path_(root), visitor_(visitor), deepest_(deepest) {}

  void run() {
    const UniqueFd root = openWithoutLinks(root_, O_PATH | O_DIRECTORY);
    if (!root) {
      visitor_.obstacle(path_, reasonText(errno));
      return;
    }
    enter(root.get(), ".");
    while (goesOn_ && !levels_.empty()) {
      Level& level = levels_.back();
      path_.resize(level.pathLength);
      const dirent* const entry = level.folder.next();
      if (entry != nullptr) {
        meet(*entry);
        continue;
      }
      if (errno != 0) {
        visitor_.obstacle(path_, reasonText(errno));
      }
      levels_.pop_back();
    }
  }

 private:
  struct Level {
    FolderReader folder;
    std::size_t pathLength;
  };

  void enter(int parent, const char* name) {
    if (levels_.size() == deepest_) {
      visitor_.obstacle(path_, "folders nested too deeply");
      return;
    }
    FolderReader folder(UniqueFd(openat(parent, name, folderFlags)));
    if (!folder) {
      visitor_.obstacle(path_, reasonText(errno));
      return;
    }
    levels_.push_back({std::move(folder), path_.size()});
  }

  void meet(const dirent& entry) {
    path_ += path_.back() == '/' ? "" : "/";
    path_ += entry.d_name;
    const int parent = levels_.back().folder.descriptor();
    if (entry.d_type == DT_DIR) {
      enter(parent, entry.d_name);
      return;
    }
    if (entry.d_type == DT_REG) {
      goesOn_ = visitor_.file(parent, entry.d_name, path_);
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
      goesOn_ = visitor_.file(parent, entry.d_name, path_);
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
    const bool inside = real == root_ || liesBelow(real, root_);
    if (!inside) {
      visitor_.obstacle(path_, "symbolic link to outside of this folder");
    }
  }

  const std::string& root_;
  std::string path_;
  const FolderWalk::Visitor& visitor_;
  const std::size_t deepest_;
  std::vector<Level> levels_;
  bool goesOn_ = true;
};

}  // namespace

void FolderWalk::through(const std::string& root, const Visitor& visitor, std::size_t deepest) {
  Walk(root, visitor, deepest).run();
}

}  // namespace quillo::wrapper
