#pragma once

#include <string>

#include "clamav/Accounts.h"

namespace quillo {

// The folder of a private daemon's socket, below `temporary`, because AppArmor lets clamd make
// files in few other places (/etc/apparmor.d/usr.sbin.clamd). It belongs to `account` alone: mode
// 0700, or 0755 when `forEveryone`. `remembered` is the folder of an earlier run; it is taken
// again, or made again after a reboot, unless somebody else has taken the name or changed it: then
// a fresh name is chosen. Throws PlatformException when no folder can be made.
std::string chooseSocketFolder(const std::string& temporary, const EngineAccount& account,
                               bool forEveryone, const std::string& remembered);

}  // namespace quillo
