#include "companion/folders/FolderCare.h"

#include <algorithm>
#include <optional>

#include "posix/FileFacts.h"
#include "posix/RealPath.h"
#include "posix/Text.h"

namespace quillo {
namespace {

using Kind = FolderCare::Kind;

Kind kindOf(const Mount& mount, const HasFileHandles& hasHandles) {
  if (isChangedByOthers(mount)) {
    return Kind::network;
  }
  if (isPseudo(mount)) {
    return Kind::kernels;
  }
  if (mount.readOnly || mount.type == "squashfs" || mount.type == "fuse.snapfuse") {
    return Kind::unchanging;
  }
  return hasHandles(mount.point) ? Kind::complete : Kind::byNames;
}

std::string withoutSlash(const std::string& path) {
  return path.size() > 1 && path.ends_with('/') ? path.substr(0, path.size() - 1) : path;
}

// Asked of what is known to be no network drive, which might not answer.
std::optional<Kind> obstacleAt(const std::string& path) {
  const auto facts = fileFacts(path);
  if (!facts) {
    return Kind::missing;
  }
  const bool canSee = facts->isDirectory ? isListableFolder(path) : isReadableFile(path);
  return canSee ? std::nullopt : std::optional(Kind::unreadable);
}

// What is mounted there and cannot be written or is the kernel's is expected, and no news.
bool isNews(Kind kind) { return kind == Kind::network || kind == Kind::byNames; }

}  // namespace

std::vector<FolderCare> careOf(const ChosenFolder& folder, const std::vector<Mount>& mounts,
                               const HasFileHandles& hasHandles) {
  const std::string path = withoutSlash(folder.path);
  if (!path.starts_with('/')) {
    return {{Kind::missing, folder.path, ""}};
  }
  const Mount* mount = mountHolding(path, mounts);
  if (mount && isChangedByOthers(*mount)) {
    // To follow its links would be to wait for it.
    return {{Kind::network, folder.path, mount->type}};
  }
  const std::string real = RealPath(path).path();
  mount = mountHolding(real, mounts);
  if (!mount) {
    return {{Kind::unknown, folder.path, ""}};
  }
  if (isChangedByOthers(*mount)) {
    return {{Kind::network, folder.path, mount->type}};
  }
  if (const auto obstacle = obstacleAt(real)) {
    return {{*obstacle, folder.path, mount->type}};
  }
  if (!folder.withSubdirs && real != "/") {
    return {{Kind::noSubfolders, folder.path, mount->type}};
  }
  const Kind kind = kindOf(*mount, hasHandles);
  std::vector<FolderCare> cares = {{kind, folder.path, mount->type}};
  for (const Mount& below : mounts) {
    if (folder.withSubdirs && liesBelow(below.point, real) &&
        mountHolding(below.point, mounts) == &below) {
      const Kind other = kindOf(below, hasHandles);
      if (other != kind && isNews(other)) {
        cares.push_back({other, below.point, below.type});
      }
    }
  }
  return cares;
}

bool isCaught(FolderCare::Kind kind) { return kind == Kind::complete || kind == Kind::unchanging; }

Wording wordingOf(const FolderCare& care) {
  switch (care.kind) {
    case Kind::complete:
      return {"FOLDERCARE_COMPLETE", {care.fileSystem}};
    case Kind::byNames:
      return {"FOLDERCARE_BY_NAMES", {care.fileSystem}};
    case Kind::network:
      return {"FOLDERCARE_NETWORK", {care.fileSystem}};
    case Kind::unchanging:
      return {"FOLDERCARE_UNCHANGING", {care.fileSystem}};
    case Kind::kernels:
      return {"FOLDERCARE_KERNELS", {care.fileSystem}};
    case Kind::noSubfolders:
      return {"FOLDERCARE_NO_SUBFOLDERS", {}};
    case Kind::unreadable:
      return {"FOLDERCARE_UNREADABLE", {}};
    case Kind::missing:
      return {"FOLDERCARE_MISSING", {}};
    default:
      return {"FOLDERCARE_UNKNOWN", {}};
  }
}

CareInWords careInWords(const ChosenFolder& folder, LocalizedStrings& strings) {
  CareInWords care{true, ""};
  const auto mounts = MountTable().read().value_or(std::vector<Mount>());
  for (const FolderCare& each : careOf(folder, mounts, hasFileHandles)) {
    care.isCaught = care.isCaught && isCaught(each.kind);
    care.words += (care.words.empty() ? "" : "\n") + wordingOf(each).in(strings);
  }
  return care;
}

}  // namespace quillo
