#pragma once

#include <sys/types.h>

#include <string>

namespace quillo {

// The account that the process runs as, out of the user database (getpwuid_r(3)).
struct UserAccount {
  uid_t userId = 0;
  // Both empty when the database does not know the account.
  std::string name;
  std::string homeFolder;

  static UserAccount current();
};

}  // namespace quillo
