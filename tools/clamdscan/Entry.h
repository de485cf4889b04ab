#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <unordered_map>

namespace quillo::wrapper {

// One thing to be scanned.
struct Entry {
  enum class Kind { file, folder, unscannable };

  std::string shown;   // as the report names it
  std::string path;    // where it really is, without symbolic links, if that is known
  std::string reason;  // why it is unscannable
  Kind kind = Kind::unscannable;
  struct stat status = {};

  bool reachedByLink() const { return shown != path; }
  // Returns the file itself where `shown` leads to it through links; else "".
  std::string target() const { return reachedByLink() ? path : std::string(); }
};

// Finds out what stands behind a path, following symbolic links. Keeps the folders that it has
// seen, because the paths of a batch share them: one instance a run, one thread.
class PathResolver {
 public:
  Entry resolve(const std::string& given);

 private:
  Entry resolveFully(Entry entry);
  Entry resolveLong(Entry entry);
  // "" and errno if there is none.
  const std::string& realFolder(const std::string& folder);

  std::unordered_map<std::string, std::string> folders_;
};

}  // namespace quillo::wrapper
