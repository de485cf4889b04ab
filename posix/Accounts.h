#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

namespace quillo {

// An entry of the user database (passwd(5)).
struct Account {
  uid_t user = 0;
  gid_t group = 0;
  std::string name;  // empty for a user number without a name
  std::string home;
};

// Returns what is known of that user; for an unknown one a group of -1, no name and no home. Any
// thread.
Account accountNumbered(uid_t user);
// Returns nothing for a name that nobody bears. Any thread.
std::optional<Account> accountNamed(const std::string& name);

// Returns "~" and "~/x" with `home` in place of "~", "~name/x" with that account's home folder, and
// any other path unchanged. Any thread.
std::string expandingTilde(std::string_view path, const std::string& home);
// Returns `home` and what lies in it with "~" in place of `home`, any other path unchanged.
std::string abbreviatingWithTilde(const std::string& path, const std::string& home);

}  // namespace quillo
