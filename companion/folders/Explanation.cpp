#include "companion/folders/Explanation.h"

#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <utility>

#include "platform/Folders.h"
#include "posix/FileFacts.h"
#include "posix/RealPath.h"
#include "posix/Text.h"
#include "scanning/PathPattern.h"
#include "settings/TypedPreferences.h"
#include "watchers/PathFilter.h"

namespace quillo {
namespace {

using Rule = Explanation::Rule;

// Stands for any new file of a folder.
constexpr const char* anyName = "q";

// The folders that would be watched if watching began now.
class FoldersOfPreferences final : public WatchedFolders {
 public:
  explicit FoldersOfPreferences(const TypedPreferences& preferences) {
    WatchedFolderList list;
    SubdirectoryFlags flags;
    for (const ChosenFolder& folder : preferences.value(key::quilloFolderArray)) {
      if (auto watched = watchedForm(folder.path)) {
        flags[*watched] = folder.withSubdirs;
        list.push_back(std::move(*watched));
      }
    }
    list_ = std::make_shared<const WatchedFolderList>(std::move(list));
    flags_ = std::make_shared<const SubdirectoryFlags>(std::move(flags));
  }
  std::shared_ptr<const WatchedFolderList> getWatchedFolderList() override { return list_; }
  std::shared_ptr<const SubdirectoryFlags> getCheckSubDirs() override { return flags_; }

 private:
  std::shared_ptr<const WatchedFolderList> list_;
  std::shared_ptr<const SubdirectoryFlags> flags_;
};

Rule ruleOf(PathFilter::Rule rule) {
  switch (rule) {
    case PathFilter::Rule::watched:
      return Rule::guarded;
    case PathFilter::Rule::inQuarantine:
      return Rule::inQuarantine;
    case PathFilter::Rule::inTrash:
      return Rule::inTrash;
    case PathFilter::Rule::inSubfolder:
      return Rule::inSubfolder;
    default:
      return Rule::outside;
  }
}

void judgeByPlace(Explanation& result, const std::string& path,
                  const ExplanationServices& services) {
  FoldersOfPreferences watched(services.preferences);
  PathFilter filter(watched, services.trashFolders);
  filter.setQuarantineFolder(services.preferences.value(key::quarantineFolder).value_or(""));
  filter.refresh();
  const PathFilter::Judgement judgement = filter.judge(path);
  result.rule = ruleOf(judgement.rule);
  result.folder = judgement.folder ? *judgement.folder : "";
  if (judgement.rule == PathFilter::Rule::inQuarantine) {
    result.folder = filter.quarantineFolder();
  }
}

void judgeByMount(Explanation& result, const std::string& path,
                  const ExplanationServices& services) {
  const auto mounts = services.mounts();
  const Mount* mount = mounts ? mountHolding(path, *mounts) : nullptr;
  if (mount && (isChangedByOthers(*mount) || isPseudo(*mount))) {
    result.rule = Rule::notReported;
    result.folder = mount->point;
  }
}

// As the helper sees: whoever may not list a folder is told of what is his own in it, and of
// nothing else.
void judgeByRights(Explanation& result, const std::string& path) {
  struct stat status = {};
  for (std::size_t slash = path.find('/', 1); slash != 0; slash = path.find('/', slash + 1)) {
    const std::string place = path.substr(0, slash);
    const std::string folder = deletingLastPathComponent(place);
    const bool isThere = lstat(place.c_str(), &status) == 0;
    if (!(isThere && status.st_uid == geteuid()) && fileExists(folder) &&
        !isListableFolder(folder)) {
      result.rule = Rule::notListable;
      result.folder = folder;
      return;
    }
    if (slash == std::string::npos) {
      return;
    }
  }
}

void judgeByPatterns(Explanation& result, const std::string& path,
                     const ExplanationServices& services) {
  std::vector<ExcludePattern> patterns = services.preferences.everyEntry(key::excludePatterns);
  const PatternList list(patterns, services.folders.homeFolder());
  if (const auto index = list.excluding(path)) {
    result.rule = Rule::excluded;
    result.patternIndex = *index;
    result.pattern = std::move(patterns[*index]);
  }
}

}  // namespace

Explanation explain(const std::string& path, const ExplanationServices& services) {
  Explanation result;
  result.path = path;
  result.realPath = RealPath(path).path();
  const auto facts = fileFacts(result.realPath);
  result.exists = facts.has_value();
  result.isFolder = (facts && facts->isDirectory) || path.ends_with('/');
  std::string judged = result.realPath;
  if (result.isFolder) {
    judged += judged == "/" ? anyName : std::string("/") + anyName;
  }
  judgeByPlace(result, judged, services);
  if (result.isGuarded()) {
    judgeByMount(result, judged, services);
  }
  if (result.isGuarded()) {
    judgeByRights(result, judged);
  }
  if (result.isGuarded()) {
    judgeByPatterns(result, judged, services);
  }
  return result;
}

Wording wordingOf(const Explanation& explanation) {
  switch (explanation.rule) {
    case Rule::guarded:
      return {explanation.isFolder ? "FOLDERS_RULE_GUARDED_FOLDER" : "FOLDERS_RULE_GUARDED",
              {explanation.folder}};
    case Rule::inQuarantine:
      return {"FOLDERS_RULE_QUARANTINE", {explanation.folder}};
    case Rule::inTrash:
      return {"FOLDERS_RULE_TRASH", {}};
    case Rule::inSubfolder:
      return {"FOLDERS_RULE_NO_SUBFOLDERS", {explanation.folder}};
    case Rule::notReported:
      return {"FOLDERS_RULE_NOT_REPORTED", {explanation.folder}};
    case Rule::notListable:
      return {"FOLDERS_RULE_NOT_LISTABLE", {explanation.folder}};
    case Rule::excluded:
      return {"FOLDERS_RULE_EXCLUDED",
              {std::to_string(explanation.patternIndex + 1), explanation.pattern.text}};
    default:
      return {"FOLDERS_RULE_OUTSIDE", {}};
  }
}

}  // namespace quillo
