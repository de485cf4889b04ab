#pragma once

#include <map>
#include <string_view>
#include <vector>

#include "helper/Mounts.h"

namespace quillo::helper {

// The file systems that events can come from, with the mounts through which they are seen here.
class FileSystems {
 public:
  using Mounts = std::vector<Mount>;

  explicit FileSystems(uid_t caller) : caller_(caller) {}

  int descriptor() const { return table_.descriptor(); }
  // The next question reads the mount table again.
  void setStale() { stale_ = true; }
  // To be called before each read of events.
  void beginRound() { mayReload_ = true; }
  // Those that an event's file system id (8 bytes, as the kernel wrote them) can mean, each as its
  // mounts, the best to open handles through first. Valid until the next call. Reads the table
  // again if the id is unknown, once a round. Throws std::system_error.
  std::vector<const Mounts*> withId(std::string_view id);

 private:
  struct FileSystem {
    std::string id;  // empty if it could not be asked
    bool isBtrfs = false;
    Mounts mounts;
  };

  void reload();
  std::vector<const Mounts*> known(std::string_view id) const;

  const uid_t caller_;
  OpenMountTable table_;
  bool stale_ = true;
  bool mayReload_ = true;
  std::map<dev_t, FileSystem> fileSystems_;
};

}  // namespace quillo::helper
