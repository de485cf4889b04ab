#include "clamav/Accounts.h"

#include <pwd.h>

#include <array>

namespace quillo {
namespace {

using Buffer = std::array<char, 16384>;

EngineAccount accountOf(const passwd& entry) {
  return {entry.pw_uid, entry.pw_gid, entry.pw_name, entry.pw_dir};
}

}  // namespace

EngineAccount accountNumbered(uid_t user) {
  Buffer buffer;
  passwd entry = {};
  passwd* found = nullptr;
  if (getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return {user, static_cast<gid_t>(-1), {}, {}};
  }
  return accountOf(*found);
}

std::optional<EngineAccount> accountNamed(const std::string& name) {
  Buffer buffer;
  passwd entry = {};
  passwd* found = nullptr;
  if (name.empty() || getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr) {
    return std::nullopt;
  }
  return accountOf(*found);
}

std::vector<std::string> daemonAccountNames(const std::string& configured) {
  return {configured, "clamav", "clamscan"};
}

EngineAccount packagedAccount(const std::string& configured) {
  for (const std::string& name : daemonAccountNames(configured)) {
    if (std::optional<EngineAccount> account = accountNamed(name)) {
      return std::move(*account);
    }
  }
  return accountNumbered(0);
}

}  // namespace quillo
