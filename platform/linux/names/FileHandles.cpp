#include "platform/linux/names/FileHandles.h"

#include <fcntl.h>
#include <sys/vfs.h>

#include <cerrno>
#include <cstring>

namespace quillo {

bool hasFileHandles(const std::string& path) {
  struct file_handle none = {};
  int mount = 0;
  // With no room for a handle the answer is EOVERFLOW where there is one.
  if (name_to_handle_at(AT_FDCWD, path.c_str(), &none, &mount, 0) != 0 && errno == EOPNOTSUPP) {
    return false;
  }
  struct statfs facts = {};
  const fsid_t noId = {};
  return statfs(path.c_str(), &facts) != 0 || std::memcmp(&facts.f_fsid, &noId, sizeof noId) != 0;
}

}  // namespace quillo
