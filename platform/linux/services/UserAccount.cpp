#include "platform/linux/services/UserAccount.h"

#include <pwd.h>
#include <unistd.h>

#include <array>

namespace quillo {

UserAccount UserAccount::current() {
  UserAccount account;
  account.userId = getuid();
  std::array<char, 16384> buffer;
  passwd entry = {};
  passwd* found = nullptr;
  if (getpwuid_r(account.userId, &entry, buffer.data(), buffer.size(), &found) == 0 && found) {
    account.name = found->pw_name;
    account.homeFolder = found->pw_dir;
  }
  return account;
}

}  // namespace quillo
