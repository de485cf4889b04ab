#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace quillo {

// Where a path leads once every symbolic link on it is followed, and the links that led there. What
// is not there yet counts as no link, so that every path leads somewhere. Owned by one thread.
// path_resolution(7).
class RealPath {
 public:
  struct Link {
    std::string place;   // the link itself, by its real path
    std::string target;  // what it said
  };

  RealPath() = default;
  // `path` is absolute. More than forty links in a row count as none, as they do to the kernel.
  explicit RealPath(const std::string& path);

  // Returns it: absolute, without a link, "." or ".." on it, and without a "/" at its end but for
  // the root folder.
  const std::string& path() const { return path_; }
  const std::vector<Link>& links() const { return links_; }
  // Returns true when one of the links says something else now, or a folder on the way has become a
  // link. Costs a system call or two and never waits for a file system that does not answer, unless
  // a link lies on it.
  bool hasChanged() const;

 private:
  std::string path_;
  std::vector<Link> links_;
};

// Returns why somebody else than `owners` may change, or exchange, what `path` leads to; "" when
// nobody can: it and every folder and link on the way to it, links followed, belong to one of them
// and give others no right to write (in a folder with the sticky bit each owns his own). A relative
// path and one that leads nowhere are not trusted. Any thread. path_resolution(7).
std::string distrustOfPath(const std::string& path, const std::vector<uid_t>& owners);

}  // namespace quillo
