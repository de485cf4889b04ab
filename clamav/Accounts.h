#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace quillo {

// Who a private daemon runs as.
struct EngineAccount {
  uid_t user = 0;
  gid_t group = 0;
  std::string name;  // empty for a user number without a name
  std::string home;
};

// Entries of the user database (passwd(5)). Any thread.
EngineAccount accountNumbered(uid_t user);
std::optional<EngineAccount> accountNamed(const std::string& name);
// The accounts that a machine's daemon may run as: `configured`, and those that the packages make.
std::vector<std::string> daemonAccountNames(const std::string& configured);
// The account that the packages made for the daemon, `configured` if they say so; root's if none.
EngineAccount packagedAccount(const std::string& configured);

}  // namespace quillo
