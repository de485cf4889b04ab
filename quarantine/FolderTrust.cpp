#include "quarantine/FolderTrust.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "posix/Accounts.h"

namespace quillo {
namespace {

// Whether a group holds this user alone, as the group does that many systems make for each user.
bool isPrivateGroup(gid_t group) {
  const Account user = accountNumbered(geteuid());
  std::array<char, 16384> buffer;
  struct group entry = {};
  struct group* known = nullptr;
  if (getgrgid_r(group, &entry, buffer.data(), buffer.size(), &known) != 0 || known == nullptr) {
    return false;
  }
  bool alone = user.group == group && user.name == entry.gr_name;
  for (char** member = entry.gr_mem; alone && *member != nullptr; ++member) {
    alone = user.name == *member;
  }
  return alone;
}

}  // namespace

FolderTrust trustInFolder(int folder) {
  struct stat status = {};
  if (fstat(folder, &status) != 0) {
    return FolderTrust::cannotTell;
  }
  if (status.st_uid != geteuid()) {
    return FolderTrust::somebodyElses;
  }
  // With the sticky bit others can add files, but neither take nor replace any.
  const bool sticky = (status.st_mode & S_ISVTX) != 0;
  const bool groupMay = (status.st_mode & S_IWGRP) != 0;
  if (sticky || (status.st_mode & (S_IWGRP | S_IWOTH)) == 0) {
    return FolderTrust::own;
  }
  const bool othersMay = (status.st_mode & S_IWOTH) != 0;
  return othersMay || (groupMay && !isPrivateGroup(status.st_gid)) ? FolderTrust::othersMayWrite
                                                                   : FolderTrust::own;
}

}  // namespace quillo
