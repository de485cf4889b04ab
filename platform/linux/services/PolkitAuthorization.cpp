#include "platform/linux/services/PolkitAuthorization.h"

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/linux/text/VisibleText.h"
#include "posix/Accounts.h"
#include "posix/ChildProcess.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"

namespace quillo {
namespace {

// pkexec(1), "RETURN VALUE".
constexpr int dismissed = 126;
constexpr int notAuthorized = 127;
constexpr std::size_t mostOutput = 4096;
// For sh(1): runs its arguments, then takes back one of the two bits that "chmod +s" gives.
constexpr char keepUserBitAlone[] = "\"$@\" || exit; [ ! -g \"$0\" ] || chmod g-s \"$0\"";

struct Outcome {
  int status;
  std::string output;
};

Outcome run(const LaunchRequest& request) {
  ChildProcess child(request);
  std::string output;
  const int status = child.waitUntilExit([&](std::string_view chunk) {
    output += chunk.substr(0, mostOutput - std::min(mostOutput, output.size()));
    return true;
  });
  return {status, visibleLines(trimmed(output))};
}

Wording belongsTo(const std::string& path, uid_t user) {
  const std::string name = accountNumbered(user).name;
  if (!name.empty()) {
    return {"PATH_BELONGS_TO", {path, name}};
  }
  return {"PATH_BELONGS_TO_NUMBER", {path, std::to_string(user)}};
}

// The mode's group bits are also the mask of an access control list (acl(5)).
bool isWritableForOthers(const struct stat& info) {
  return (info.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

// What holds for the file and for the folders above it; leaves their facts in `info`.
Wording whyUnsafeEntry(const std::string& path, bool isFolder, struct stat& info) {
  if (lstat(path.c_str(), &info) != 0) {
    return {"PATH_UNREADABLE", {path, std::strerror(errno)}};
  }
  if (S_ISLNK(info.st_mode)) {
    return {"PATH_IS_LINK", {path}};
  }
  if (isFolder ? !S_ISDIR(info.st_mode) : !S_ISREG(info.st_mode)) {
    return {isFolder ? "PATH_NO_FOLDER" : "PATH_NO_REGULAR_FILE", {path}};
  }
  if (info.st_uid != 0) {
    return belongsTo(path, info.st_uid);
  }
  if (isWritableForOthers(info)) {
    return {"PATH_WRITABLE_BY_OTHERS", {path}};
  }
  return {};
}

Wording whyUnsafeFile(const std::string& path) {
  struct stat info = {};
  if (Wording why = whyUnsafeEntry(path, false, info); !why.empty()) {
    return why;
  }
  // What it gets would be found under that name too, wherever that is.
  if (info.st_nlink != 1) {
    return {"PATH_HAS_SECOND_NAME", {path}};
  }
  struct statvfs fileSystem = {};
  if (statvfs(path.c_str(), &fileSystem) == 0 && (fileSystem.f_flag & ST_NOSUID) != 0) {
    return {"PATH_NOSUID", {path}};
  }
  return {};
}

}  // namespace

bool PolkitAuthorization::executeWithPrivileges(const std::string& program,
                                                const std::vector<std::string>& arguments,
                                                std::string& reason) {
  if (const Wording why = whyUnsafe(places_.helper); !why.empty()) {
    reason = text("HELPER_UNSAFE", why.in(strings_));
    return false;
  }
  std::vector<std::string> words{"/bin/sh", "-c", keepUserBitAlone, places_.helper};
  if (!places_.isRoot) {
    if (whyUnsafe(places_.granter).empty()) {
      words = {places_.granter};
    }
    // A background agent has no terminal to ask on.
    words.insert(words.begin(), {places_.pkexec, "--disable-internal-agent"});
  }
  words.push_back(program);
  words.insert(words.end(), arguments.begin(), arguments.end());
  const LaunchRequest request{words.front(), {words.begin() + 1, words.end()}};
  try {
    const Outcome outcome = run(request);
    if (outcome.status == 0) {
      return true;
    }
    if (!places_.isRoot && outcome.status == dismissed) {
      reason = text("AUTHORIZATION_DISMISSED");
    } else if (!places_.isRoot && outcome.status == notAuthorized) {
      reason = text("AUTHORIZATION_REFUSED", outcome.output);
    } else {
      reason = text("AUTHORIZATION_FAILED",
                    outcome.output.empty() ? std::to_string(outcome.status) : outcome.output);
    }
  } catch (const PlatformException& failure) {
    reason = places_.isRoot ? text("AUTHORIZATION_FAILED", program + ": " + failure.reason())
                            : text("AUTHORIZATION_UNAVAILABLE", places_.pkexec);
  }
  return false;
}

std::string PolkitAuthorization::text(const std::string& key, const std::string& detail) const {
  const std::string whole = replacingAll(strings_.stringForKey(key, key + " %@"), "%@", detail);
  return std::string(trimmed(whole));
}

Wording whyUnsafe(const std::string& path) {
  if (path.empty() || path.front() != '/') {
    return {"PATH_NOT_ABSOLUTE", {path}};
  }
  for (std::size_t slash = 0; slash != std::string::npos; slash = path.find('/', slash + 1)) {
    struct stat info = {};
    Wording why = whyUnsafeEntry(slash == 0 ? "/" : path.substr(0, slash), true, info);
    if (!why.empty()) {
      return why;
    }
  }
  return whyUnsafeFile(path);
}

}  // namespace quillo
