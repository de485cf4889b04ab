#include "tools/engine-tree/SocketFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "posix/PlatformException.h"

namespace quillo {
namespace {

// The name is not to be guessed, and sticks: nobody can lay claim to it before a reboot's clean-up.
std::string namePrefix(const std::string& temporary, const EngineAccount& account) {
  return temporary + "/vantrel-clamd-" + std::to_string(account.user) + "-";
}

bool isOurs(const std::string& folder, const EngineAccount& account, mode_t mode) {
  struct stat status = {};
  return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         status.st_uid == account.user && (status.st_mode & 07777) == mode;
}

// Only just made by this process, so that nobody else can have put anything in its place: `folder`
// lies in a folder with the sticky bit, or in one of our own.
bool handOver(const std::string& folder, const EngineAccount& account, mode_t mode) {
  if (account.user != geteuid() && lchown(folder.c_str(), account.user, account.group) != 0) {
    return false;
  }
  return chmod(folder.c_str(), mode) == 0 && isOurs(folder, account, mode);
}

bool hasOurName(const std::string& folder, const std::string& prefix) {
  return folder.size() > prefix.size() && folder.compare(0, prefix.size(), prefix) == 0 &&
         folder.find('/', prefix.size()) == std::string::npos;
}

}  // namespace

std::string chooseSocketFolder(const std::string& temporary, const EngineAccount& account,
                               bool forEveryone, const std::string& remembered) {
  const mode_t mode = forEveryone ? 0755 : 0700;
  const std::string prefix = namePrefix(temporary, account);
  if (hasOurName(remembered, prefix)) {
    if (isOurs(remembered, account, mode)) {
      return remembered;
    }
    if (mkdir(remembered.c_str(), 0700) == 0 && handOver(remembered, account, mode)) {
      return remembered;
    }
  }
  std::string fresh = prefix + "XXXXXX";
  if (mkdtemp(fresh.data()) == nullptr || !handOver(fresh, account, mode)) {
    throw PlatformException("TreeFailure", "cannot make a folder for the socket of clamd in " +
                                               temporary + ": " + std::strerror(errno));
  }
  return fresh;
}

}  // namespace quillo
