#include "companion/start/FirstChoices.h"

#include <algorithm>
#include <utility>

#include "platform/Folders.h"
#include "platform/PreferenceStore.h"
#include "posix/ChildProcess.h"
#include "posix/FileFacts.h"
#include "posix/FolderReader.h"
#include "posix/OwnFile.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"
#include "settings/PreferenceTable.h"

namespace quillo {
namespace {

constexpr std::size_t mostSuggestions = 50;
constexpr std::size_t mostOutput = std::size_t{64} * 1024;

std::vector<std::string> foldersIn(const std::string& home) {
  std::vector<std::string> names;
  FolderReader reader(home, Links::followed);
  while (const dirent* entry = reader ? reader.next() : nullptr) {
    if (entry->d_name[0] != '.' && reader.typeOf(*entry) == DT_DIR &&
        names.size() < mostSuggestions) {
      names.push_back(home + "/" + entry->d_name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

std::vector<std::string> FirstChoicesFile::suggestedFolders() {
  const std::string home = services_.folders.homeFolder();
  std::vector<std::string> folders = {services_.folders.downloadsFolder()};
  for (const std::string& folder : foldersIn(home)) {
    if (folder != folders.front()) {
      folders.push_back(folder);
    }
  }
  folders.push_back(home);
  std::erase_if(folders, [](const std::string& folder) { return !isListableFolder(folder); });
  return folders;
}

std::string FirstChoicesFile::writtenBefore() {
  services_.preferenceStore.synchronize();
  return services_.preferenceStore.hasAny()
             ? services_.preferenceStore.fileOf(mainApplicationIdentifier)
             : "";
}

Wording FirstChoicesFile::write(const FirstChoice& choice) {
  if (const std::string before = writtenBefore(); !before.empty()) {
    return {"START_HAS_PREFERENCES", {before}};
  }
  const std::string path = services_.preferenceStore.fileOf(mainApplicationIdentifier);
  const auto text =
      contentsOfFile(services_.folders.resourceFolder() + "/preferences/first.toml.in");
  const FirstPreferences values = firstPreferencesOf(services_.folders);
  const std::string preferences =
      text ? filledIn(*text, values, choice, services_.folders.homeFolder()) : std::string();
  if (preferences.empty()) {
    return {"START_NO_TEMPLATE"};
  }
  if (const std::string problem = services_.makeEngine(values.engine); !problem.empty()) {
    return {"START_NO_ENGINE", {problem}};
  }
  // Where updates are logged has to be there for the updater.
  makeFolders(deletingLastPathComponent(values.updateLog));
  const std::string problem = writeNewFile("The first preferences", path, preferences);
  return problem.empty() ? Wording() : Wording{"START_NOT_WRITTEN", {problem}};
}

std::string makeEngineTree(const std::string& resourceFolder, const std::string& engine) {
  std::string said;
  try {
    ChildProcess tool({.launchPath = resourceFolder + "/engine-tools/vantrel-engine-tree",
                       .arguments = {engine}});
    const int status = tool.waitUntilExit([&](std::string_view chunk) {
      said.append(chunk.substr(0, mostOutput - std::min(mostOutput, said.size())));
      return true;
    });
    if (status == 0) {
      return {};
    }
  } catch (const PlatformException& failure) {
    return failure.reason();
  }
  const std::string_view text = trimmed(said);
  const std::string_view last = split(text, '\n').back();
  return last.empty() ? engine : std::string(last);
}

}  // namespace quillo
