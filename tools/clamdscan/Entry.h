#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <unordered_map>

namespace quillo::front {

// One thing to be scanned.
struct Entry {
  enum class Kind { file, folder, unscannable };

  std::string shown;   // as the report names it
  std::string path;    // where it really is, without symbolic links, if that can be told
  std::string reason;  // why it is unscannable
  Kind kind = Kind::unscannable;
  struct stat status = {};

  bool reachedByLink() const { return shown != path; }
  // Whether the real client gets it wrong when it stands in a list (measured, 1.4): 1023 bytes and
  // more are cut, and a carriage return at the end is dropped.
  bool awkward() const;
};

// Whether a line break would tear this path in a report of the real client.
bool hasLineBreak(std::string_view path);

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

}  // namespace quillo::front
