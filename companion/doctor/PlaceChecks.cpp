#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "companion/Counting.h"
#include "companion/doctor/Finding.h"
#include "platform/Folders.h"
#include "posix/FileFacts.h"
#include "posix/Text.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

using Sign = Finding::Sign;

constexpr std::uint64_t mebibyte = 1024ULL * 1024;
constexpr std::uint64_t littleRoom = 500 * mebibyte;
constexpr std::uint64_t noRoom = 50 * mebibyte;
// The scan log is rotated at every start of watching, not in between.
constexpr std::uint64_t timesTooLarge = 10;
constexpr std::int64_t defaultLogSize = 5120;

Sign signOf(FolderCare::Kind kind) {
  switch (kind) {
    case FolderCare::Kind::complete:
    case FolderCare::Kind::unchanging:
      return Sign::good;
    case FolderCare::Kind::byNames:
    case FolderCare::Kind::kernels:
      return Sign::warning;
    case FolderCare::Kind::unknown:
      return Sign::unknown;
    default:
      return Sign::problem;
  }
}

Wording remedyFor(FolderCare::Kind kind) {
  switch (kind) {
    case FolderCare::Kind::complete:
    case FolderCare::Kind::unchanging:
    case FolderCare::Kind::unknown:
      return {};
    case FolderCare::Kind::byNames:
      return {"DOCTOR_FOLDER_NAMES_REMEDY"};
    case FolderCare::Kind::network:
      return {"DOCTOR_FOLDER_NETWORK_REMEDY"};
    case FolderCare::Kind::missing:
      return {"DOCTOR_FOLDER_MISSING_REMEDY"};
    default:
      return {"DOCTOR_FOLDER_OTHER_REMEDY"};
  }
}

Finding logFinding(const DoctorServices& services) {
  const std::string folder = services.folders.homeFolder() + "/Library/Logs";
  const std::string path = folder + "/VantrelQuillo-scan.log";
  const auto found = [&](Sign sign, Wording sentence, Wording remedy = {}) {
    return Finding{"log", path, sign, std::move(sentence), std::move(remedy)};
  };
  struct stat file = {};
  if (lstat(path.c_str(), &file) != 0) {
    return found(Sign::warning, {"DOCTOR_LOG_NONE", {path}}, {"DOCTOR_LOG_NONE_REMEDY"});
  }
  if (access(path.c_str(), W_OK) != 0) {
    return found(Sign::problem, {"DOCTOR_LOG_FORBIDDEN", {path}}, {"DOCTOR_LOG_FORBIDDEN_REMEDY"});
  }
  const std::int64_t chosen = services.preferences.value(key::rotateScanlogWhenSizeReaches);
  const auto limit = static_cast<std::uint64_t>(chosen > 0 ? chosen : defaultLogSize) * 1024;
  const auto size = static_cast<std::uint64_t>(file.st_size);
  if (size > timesTooLarge * limit) {
    return found(Sign::warning,
                 {"DOCTOR_LOG_LARGE", {path, numberIn(services.strings, size / mebibyte)}},
                 {"DOCTOR_LOG_LARGE_REMEDY"});
  }
  return found(Sign::good, {"DOCTOR_LOG_GOOD", {path}});
}

// A store whose own part says what is wrong with it, and what mends that.
void addStore(std::vector<Finding>& findings, const char* check,
              const std::function<std::string()>& problem, const std::string& keys) {
  if (!problem) {
    return;
  }
  const std::string reason = problem();
  findings.push_back(reason.empty()
                         ? Finding{check, "", Sign::good, {keys + "_GOOD"}}
                         : Finding{check, "", Sign::problem, {keys + "_PROBLEM", {reason}}});
}

// The folder is made with the first file that is moved there, as far as it can be.
bool isYetToBeMade(const std::string& folder) {
  struct stat there = {};
  std::string above = folder;
  while (above.starts_with('/') && above != "/" && lstat(above.c_str(), &there) != 0) {
    if (errno != ENOENT) {
      return false;
    }
    above = deletingLastPathComponent(above);
  }
  return above.starts_with('/') && above != folder && access(above.c_str(), W_OK | X_OK) == 0;
}

void addQuarantine(std::vector<Finding>& findings, const DoctorServices& services) {
  const std::string folder = services.preferences.value(key::quarantineFolder).value_or("");
  if (services.quarantineProblem && isYetToBeMade(folder)) {
    findings.push_back({"quarantine", folder, Sign::good, {"DOCTOR_QUARANTINE_NOT_YET", {folder}}});
  } else {
    addStore(findings, "quarantine", services.quarantineProblem, "DOCTOR_QUARANTINE");
  }
}

Finding spaceFinding(const DoctorServices& services, const std::string& folder,
                     const std::string& remedy) {
  struct statvfs volume = {};
  if (statvfs(folder.c_str(), &volume) != 0) {
    return {"space", folder, Sign::unknown, {"DOCTOR_SPACE_UNKNOWN", {folder}}};
  }
  const std::uint64_t room = std::uint64_t{volume.f_bavail} * volume.f_frsize;
  const Wording sentence{"DOCTOR_SPACE", {folder, numberIn(services.strings, room / mebibyte)}};
  if (room >= littleRoom) {
    return {"space", folder, Sign::good, sentence};
  }
  return {"space", folder, room < noRoom ? Sign::problem : Sign::warning, sentence, {remedy}};
}

}  // namespace

std::vector<Finding> examineFolders(const DoctorServices& services, const DoctorFacts&) {
  const auto chosen = services.preferences.value(key::quilloFolderArray);
  if (chosen.empty()) {
    return {{"folder", "", Sign::problem, {"DOCTOR_FOLDER_NONE"}, {"DOCTOR_FOLDER_NONE_REMEDY"}}};
  }
  std::vector<Finding> findings;
  const auto mounts = services.mounts();
  for (const ChosenFolder& folder : chosen) {
    const auto cares = mounts
                           ? careOf(folder, *mounts, services.hasHandles)
                           : std::vector<FolderCare>{{FolderCare::Kind::unknown, folder.path, ""}};
    for (const FolderCare& care : cares) {
      findings.push_back({"folder",
                          care.path,
                          signOf(care.kind),
                          {"DOCTOR_FOLDER", {care.path, wordingOf(care).in(services.strings)}},
                          remedyFor(care.kind)});
    }
  }
  return findings;
}

std::vector<Finding> examineFiles(const DoctorServices& services, const DoctorFacts& facts) {
  std::vector<Finding> findings;
  addStore(findings, "preferences", services.preferencesProblem, "DOCTOR_PREFERENCES");
  findings.push_back(logFinding(services));
  const std::string unkept = facts.agent ? facts.agent->historyProblem : "";
  if (!unkept.empty()) {
    findings.push_back({"history",
                        "",
                        Sign::problem,
                        {"DOCTOR_HISTORY_NOT_KEPT", {unkept}},
                        {"DOCTOR_HISTORY_NOT_KEPT_REMEDY"}});
  } else {
    addStore(findings, "history", services.historyProblem, "DOCTOR_HISTORY");
  }
  addQuarantine(findings, services);
  return findings;
}

std::vector<Finding> examineSpace(const DoctorServices& services, const DoctorFacts&) {
  return {spaceFinding(services, services.folders.homeFolder(), "DOCTOR_SPACE_HOME_REMEDY"),
          spaceFinding(services, services.temporaryFolder, "DOCTOR_SPACE_TMP_REMEDY")};
}

std::vector<Finding> examineDesktop(const DoctorServices&, const DoctorFacts& facts) {
  const DesktopFacts& desktop = facts.desktop;
  const auto byAnswer = [](const char* check, std::optional<bool> answer, const std::string& keys) {
    if (!answer) {
      return Finding{check, "", Sign::unknown, {keys + "_UNKNOWN"}, {"DOCTOR_NO_BUS_REMEDY"}};
    }
    return *answer ? Finding{check, "", Sign::good, {keys + "_GOOD"}}
                   : Finding{check, "", Sign::warning, {keys + "_NONE"}, {keys + "_REMEDY"}};
  };
  std::vector<Finding> findings = {
      byAnswer("panel", desktop.showsStatusItems, "DOCTOR_PANEL"),
      byAnswer("notifications", desktop.showsNotifications, "DOCTOR_NOTIFICATIONS")};
  const std::string& entry = desktop.autostartEntry;
  switch (desktop.autostart) {
    case DesktopFacts::Autostart::on:
      findings.push_back({"autostart", entry, Sign::good, {"DOCTOR_AUTOSTART_GOOD"}});
      break;
    case DesktopFacts::Autostart::off:
      findings.push_back({"autostart",
                          entry,
                          Sign::warning,
                          {"DOCTOR_AUTOSTART_OFF", {entry}},
                          {"DOCTOR_AUTOSTART_OFF_REMEDY", {entry}}});
      break;
    case DesktopFacts::Autostart::missing:
      findings.push_back({"autostart",
                          "",
                          Sign::warning,
                          {"DOCTOR_AUTOSTART_NONE"},
                          {"DOCTOR_AUTOSTART_NONE_REMEDY"}});
      break;
    default:
      findings.push_back({"autostart",
                          "",
                          Sign::unknown,
                          {"DOCTOR_AUTOSTART_UNKNOWN"},
                          {"DOCTOR_AUTOSTART_UNKNOWN_REMEDY", {entry}}});
  }
  return findings;
}

}  // namespace quillo
