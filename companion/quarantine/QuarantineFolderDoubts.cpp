#include "companion/quarantine/QuarantineFolderDoubts.h"

#include <filesystem>
#include <system_error>

#include "posix/RealPath.h"
#include "quarantine/RecordFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

constexpr const char* records = RecordFolder::name;

std::string realFolder(const std::string& path) {
  const std::string real = RealPath(path).path();
  return real.ends_with('/') ? real : real + "/";
}

}  // namespace

bool holdsFiles(const std::string& folder) {
  std::error_code error;
  for (fs::directory_iterator at(folder, error); !error && at != fs::directory_iterator();
       at.increment(error)) {
    if (at->path().filename() != records) {
      return true;
    }
  }
  return false;
}

std::vector<Wording> doubtsAboutQuarantine(const std::string& path,
                                           const std::vector<ChosenFolder>& guarded) {
  std::vector<Wording> doubts;
  const std::string quarantine = realFolder(path);
  for (const ChosenFolder& chosen : guarded) {
    if (!chosen.path.starts_with('/')) {
      continue;
    }
    const std::string folder = realFolder(chosen.path);
    if (folder.starts_with(quarantine)) {
      doubts.push_back({"SETTINGS_ASK_QUARANTINE", {path, chosen.path}});
    } else if (quarantine.starts_with(folder)) {
      doubts.push_back({"SETTINGS_ASK_QUARANTINE_INSIDE", {path, chosen.path}});
    }
  }
  // What an earlier quarantine left there is where it belongs.
  std::error_code error;
  if (!fs::exists(quarantine + records, error) && holdsFiles(quarantine)) {
    doubts.push_back({"SETTINGS_ASK_QUARANTINE_FULL", {path}});
  }
  return doubts;
}

}  // namespace quillo
