#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <utility>

#include "companion/doctor/Finding.h"
#include "platform/Folders.h"
#include "posix/ChildProcess.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"
#include "posix/Version.h"

namespace quillo {
namespace {

using Sign = Finding::Sign;

constexpr std::size_t longestVersion = 256;

Finding found(const std::string& path, Sign sign, Wording sentence, Wording remedy = {}) {
  return {"helper", path, sign, std::move(sentence), std::move(remedy)};
}

std::string commandForRights(const std::string& path) {
  return "sudo sh -c 'chown root:root \"" + path + "\" && chmod 4755 \"" + path + "\"'";
}

// "gfslogger 0.1.0"; "" where it does not say.
std::string versionOf(const std::string& path) {
  std::string said;
  try {
    LaunchRequest request{path};
    request.arguments = {"--version"};
    ChildProcess child(request);
    child.waitUntilExit([&](std::string_view chunk) {
      // Read to its end, lest it wait for a reader.
      said += chunk.substr(0, longestVersion - said.size());
      return true;
    });
  } catch (const PlatformException&) {
    return "";
  }
  const auto words = split(trimmed(said), ' ');
  return words.size() == 2 && words.front() == "gfslogger" ? std::string(words.back()) : "";
}

// Why the system would not give it root's rights, however the file itself looks.
std::optional<Finding> withheldRights(const std::string& path) {
  struct statvfs volume = {};
  if (statvfs(path.c_str(), &volume) == 0 && (volume.f_flag & ST_NOSUID) != 0) {
    return found(path, Sign::problem, {"DOCTOR_HELPER_NOSUID", {path}},
                 {"DOCTOR_HELPER_NOSUID_REMEDY"});
  }
  if (prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1) {
    return found(path, Sign::unknown, {"DOCTOR_HELPER_NO_NEW_PRIVS"},
                 {"DOCTOR_HELPER_NO_NEW_PRIVS_REMEDY"});
  }
  return std::nullopt;
}

}  // namespace

std::vector<Finding> examineHelper(const DoctorServices& services, const DoctorFacts& facts) {
  const std::string path = services.folders.resourceFolder() + "/gfslogger";
  struct stat file = {};
  if (lstat(path.c_str(), &file) != 0 || !S_ISREG(file.st_mode)) {
    return {found(path, Sign::problem, {"DOCTOR_HELPER_MISSING", {path}},
                  {"DOCTOR_HELPER_MISSING_REMEDY"})};
  }
  const Wording remedy{"DOCTOR_HELPER_RIGHTS_REMEDY", {commandForRights(path)}};
  if ((file.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    return {found(path, Sign::problem, {"DOCTOR_HELPER_WRITABLE", {path}},
                  {"DOCTOR_HELPER_MISSING_REMEDY"})};
  }
  if (file.st_uid != services.helperOwner || (file.st_mode & S_ISUID) == 0) {
    return {found(path, Sign::problem, {"DOCTOR_HELPER_NO_RIGHTS", {path}}, remedy)};
  }
  if (access(path.c_str(), X_OK) != 0) {
    return {found(path, Sign::problem, {"DOCTOR_HELPER_FORBIDDEN", {path}}, remedy)};
  }
  if (const auto withheld = withheldRights(path)) {
    return {*withheld};
  }
  if (facts.agent && facts.agent->attention == "helperFails") {
    return {found(path, Sign::problem, {"DOCTOR_HELPER_FAILS"}, {"DOCTOR_HELPER_FAILS_REMEDY"})};
  }
  const std::string version = versionOf(path);
  if (version != projectVersion) {
    return {found(path, Sign::warning, {"DOCTOR_HELPER_OTHER", {version, projectVersion}},
                  {"DOCTOR_HELPER_MISSING_REMEDY"})};
  }
  return {found(path, Sign::good, {"DOCTOR_HELPER_GOOD", {version}})};
}

}  // namespace quillo
