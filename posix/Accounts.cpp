#include "posix/Accounts.h"

#include <pwd.h>

#include <algorithm>
#include <array>

namespace quillo {
namespace {

using Buffer = std::array<char, 16384>;

Account accountOf(const passwd& entry) {
  return {entry.pw_uid, entry.pw_gid, entry.pw_name, entry.pw_dir};
}

}  // namespace

Account accountNumbered(uid_t user) {
  Buffer buffer;
  passwd entry = {};
  passwd* found = nullptr;
  if (getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return {user, static_cast<gid_t>(-1), {}, {}};
  }
  return accountOf(*found);
}

std::optional<Account> accountNamed(const std::string& name) {
  Buffer buffer;
  passwd entry = {};
  passwd* found = nullptr;
  if (name.empty() || getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr) {
    return std::nullopt;
  }
  return accountOf(*found);
}

std::string expandingTilde(std::string_view path, const std::string& home) {
  if (path.empty() || path[0] != '~') {
    return std::string(path);
  }
  const std::size_t slash = std::min(path.find('/'), path.size());
  const std::string name(path.substr(1, slash - 1));
  const std::string folder = name.empty() ? home : accountNamed(name).value_or(Account()).home;
  if (folder.empty()) {
    return std::string(path);
  }
  return folder + std::string(path.substr(slash));
}

std::string abbreviatingWithTilde(const std::string& path, const std::string& home) {
  const bool liesThere = !home.empty() && path.starts_with(home) &&
                         (path.size() == home.size() || path[home.size()] == '/');
  return liesThere ? "~" + path.substr(home.size()) : path;
}

}  // namespace quillo
