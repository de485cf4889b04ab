#pragma once

#include <string>

#include "posix/Accounts.h"
#include "tools/engine-tree/MachineEngine.h"

namespace quillo {

// The folder of a private daemon's socket. It belongs to the daemon's account alone: mode 0700, or
// 0755 for a tree for everyone.
struct SocketFolderRequest {
  std::string place;  // the folder that it lies in, see socketPlace()
  Account account;
  bool forEveryone = false;
  std::string remembered;  // the folder of an earlier run, wherever it lay; empty for none
};

// Returns the user's runtime folder ($XDG_RUNTIME_DIR, XDG base directories, freedesktop.org) where
// it is his alone, its path is plain ASCII and clamd may make files there; otherwise
// `places.temporary`, the one place that AppArmor leaves it (/etc/apparmor.d/usr.sbin.clamd).
std::string socketPlace(const MachinePlaces& places, bool forEveryone);

// Returns the remembered folder, wherever it lies, because a daemon may be listening there; made
// again if it is gone. If somebody else has taken its name or changed it, one with a fresh name.
// Throws PlatformException when none can be made.
std::string keepSocketFolder(const SocketFolderRequest& request);
// Returns a folder for a daemon about to start: nothing of an earlier run is taken over. Removes
// the remembered folder with all that is in it, if it is the account's own, and makes it anew:
// whoever has learnt the path of the socket can go on with it.
std::string renewSocketFolder(const SocketFolderRequest& request);

}  // namespace quillo
