#include "platform/linux/names/NameTree.h"

#include <sys/inotify.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/linux/names/WayWatch.h"
#include "posix/FolderReader.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr unsigned int wanted =
    IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_CLOSE_WRITE | IN_ONLYDIR | IN_EXCL_UNLINK;
constexpr int visitsInAStep = 64;
constexpr int readsInAStep = 64;
// File systems keep times in steps of up to two seconds.
constexpr std::time_t slack = 3;

std::string in(const std::string& folder, std::string_view name) {
  std::string path = folder == "/" ? "" : folder;
  path += '/';
  path += name;
  return path;
}

bool isFileOrLink(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 && (S_ISREG(status.st_mode) || S_ISLNK(status.st_mode));
}

}  // namespace

NameTree::NameTree(Clock& clock)
    : clock_(clock), queue_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), allReadAt_(now()) {
  if (!queue_) {
    throw PlatformException::ofSystemCall("NameWatchFailure", "cannot watch names", errno);
  }
}

std::time_t NameTree::now() const {
  return std::chrono::system_clock::to_time_t(clock_.wallTime());
}

void NameTree::add(const std::string& folder, bool withSubfolders, bool reportAll) {
  struct stat status = {};
  if (stat(folder.c_str(), &status) != 0) {
    return;
  }
  roots_[folder] = Root{withSubfolders, status.st_dev, status.st_ino};
  visits_.push_back({folder, folder, reportAll, now() - slack});
}

void NameTree::remove(const std::string& folder) {
  roots_.erase(folder);
  std::erase_if(visits_, [&](const Visit& visit) { return visit.root == folder; });
  dropBelow(folder);
  // What is mounted below was dropped as well.
  for (const auto& [other, root] : roots_) {
    if (liesBelow(other, folder)) {
      visits_.push_back({other, other, false, now() - slack});
    }
  }
}

bool NameTree::isStillThere(const std::string& folder) const {
  const auto root = roots_.find(folder);
  struct stat status = {};
  return root != roots_.end() && stat(folder.c_str(), &status) == 0 &&
         status.st_dev == root->second.device && status.st_ino == root->second.number;
}

bool NameTree::step(std::vector<std::string>& paths) {
  reported_.clear();
  readEvents(paths);
  for (int count = 0; count < visitsInAStep && !visits_.empty(); ++count) {
    const Visit next = std::move(visits_.front());
    visits_.pop_front();
    visit(next, paths);
  }
  return !visits_.empty();
}

bool NameTree::takeRefusal() { return std::exchange(refused_, false); }

void NameTree::readEvents(std::vector<std::string>& paths) {
  const auto take = [&](int watch, unsigned int mask, std::string_view name) {
    handle(watch, mask, name, paths);
  };
  for (int reads = 0; reads < readsInAStep; ++reads) {
    const std::time_t readAt = now();
    if (!takeInotifyEvents(queue_, take)) {
      allReadAt_ = readAt;
      return;
    }
  }
}

void NameTree::handle(int watch, unsigned int mask, std::string_view name,
                      std::vector<std::string>& paths) {
  if ((mask & IN_Q_OVERFLOW) != 0) {
    startOver();
    return;
  }
  const auto found = byWatch_.find(watch);
  if (found == byWatch_.end()) {
    return;
  }
  if ((mask & IN_IGNORED) != 0) {
    forget(watch);
    return;
  }
  if (name.empty()) {
    return;
  }
  const std::string path = in(*found->second, name);
  const bool isFolder = (mask & IN_ISDIR) != 0;
  if (isFolder && (mask & IN_MOVED_FROM) != 0) {
    dropBelow(path);
  } else if (isFolder && (mask & (IN_CREATE | IN_MOVED_TO)) != 0) {
    folderAppeared(path);
  } else if (!isFolder && (mask & IN_MOVED_FROM) == 0 && reported_.insert(path).second &&
             isFileOrLink(path)) {
    paths.push_back(path);
  }
}

// Before those that were there already: what is new waits for nobody.
void NameTree::folderAppeared(const std::string& folder) {
  const std::string* root = rootOf(folder);
  if (root && roots_.at(*root).withSubfolders) {
    visits_.push_front({folder, *root, true, 0});
  }
}

// Events were lost: whatever came into a folder since all were read is reported again.
void NameTree::startOver() {
  // In place of a walk that is under way for the same reason, or walks would pile up.
  std::time_t since = allReadAt_ - slack;
  std::erase_if(visits_, [&since](const Visit& visit) {
    since = visit.reportAll ? since : std::min(since, visit.since);
    return !visit.reportAll;
  });
  for (const auto& [folder, root] : roots_) {
    visits_.push_back({folder, folder, false, since});
  }
}

void NameTree::visit(const Visit& what, std::vector<std::string>& paths) {
  FolderReader folder(what.folder);
  struct stat status = {};
  const auto root = roots_.find(what.root);
  if (!folder || fstat(folder.descriptor(), &status) != 0 || root == roots_.end() ||
      status.st_dev != root->second.device) {
    return;
  }
  watch(folder.descriptor(), what.folder);
  const bool reports = what.reportAll || std::max(status.st_mtime, status.st_ctime) >= what.since;
  while (const dirent* entry = folder.next()) {
    const unsigned char type = folder.typeOf(*entry);
    if (type == DT_DIR && root->second.withSubfolders) {
      visits_.push_front({in(what.folder, entry->d_name), what.root, what.reportAll, what.since});
    } else if (reports && (type == DT_REG || type == DT_LNK)) {
      paths.push_back(in(what.folder, entry->d_name));
    }
  }
}

// By its descriptor: the name may be another folder's by now.
void NameTree::watch(int folder, const std::string& path) {
  const std::string opened = "/proc/self/fd/" + std::to_string(folder);
  const int watch = inotify_add_watch(queue_.get(), opened.c_str(), wanted);
  if (watch < 0) {
    refused_ = refused_ || errno == ENOSPC || errno == ENOMEM;
    return;
  }
  if (byWatch_.count(watch) != 0) {
    byPath_.erase(*byWatch_.at(watch));
  }
  if (const auto other = byPath_.find(path); other != byPath_.end()) {
    byWatch_.erase(other->second);
  }
  byWatch_[watch] = &byPath_.insert_or_assign(path, watch).first->first;
}

void NameTree::forget(int watch) {
  const auto found = byWatch_.find(watch);
  if (found != byWatch_.end()) {
    byPath_.erase(*found->second);
    byWatch_.erase(found);
  }
}

void NameTree::dropBelow(const std::string& folder) {
  const auto drop = [this](auto entry) {
    inotify_rm_watch(queue_.get(), entry->second);
    byWatch_.erase(entry->second);
    return byPath_.erase(entry);
  };
  if (const auto itself = byPath_.find(folder); itself != byPath_.end()) {
    drop(itself);
  }
  const std::string below = in(folder, "");
  for (auto entry = byPath_.lower_bound(below);
       entry != byPath_.end() && entry->first.starts_with(below);) {
    entry = drop(entry);
  }
}

const std::string* NameTree::rootOf(const std::string& folder) const {
  const std::string* longest = nullptr;
  for (const auto& [root, facts] : roots_) {
    if ((folder == root || liesBelow(folder, root)) &&
        (!longest || root.size() > longest->size())) {
      longest = &root;
    }
  }
  return longest;
}

}  // namespace quillo
