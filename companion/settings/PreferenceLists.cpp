#include "companion/settings/PreferenceLists.h"

#include <algorithm>
#include <utility>

#include "platform/Folders.h"
#include "platform/PreferenceStore.h"
#include "posix/Accounts.h"
#include "posix/FileFacts.h"
#include "posix/FileUri.h"
#include "posix/PlatformException.h"
#include "posix/RealPath.h"
#include "posix/Text.h"
#include "scanning/PathPattern.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

constexpr const char* folderList = key::quilloFolderArray.name;
constexpr const char* patternList = key::excludePatterns.name;

// What lies in a folder, as unlike each other as names can be.
constexpr const char* unlikeNames[] = {"q", "W/4", "\xC3\xBC x/k.zz"};

// Preferences as one text says them.
class TextStore final : public PreferenceStore {
 public:
  explicit TextStore(const PreferenceDictionary& values) : values_(values) {}
  void addSuiteNamed(const std::string&) override {}
  void synchronize() override {}
  std::optional<PreferenceValue> objectForKey(const std::string& key) override {
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }
  std::string fileThatHas(const std::string&) override { return ""; }
  bool hasAny() override { return !values_.empty(); }
  std::string fileOf(const std::string&) const override { return ""; }

 private:
  const PreferenceDictionary& values_;
};

bool isSame(const ChosenFolder& one, const ChosenFolder& other) {
  return one.path == other.path && one.withSubdirs == other.withSubdirs;
}

bool isSame(const ExcludePattern& one, const ExcludePattern& other) {
  return one.text == other.text && one.isRegEx == other.isRegEx && one.isEnabled == other.isEnabled;
}

std::vector<ChosenFolder> entriesIn(const TypedPreferences& preferences, const ChosenFolder*) {
  return preferences.value(key::quilloFolderArray);
}

std::vector<ExcludePattern> entriesIn(const TypedPreferences& preferences, const ExcludePattern*) {
  return preferences.everyEntry(key::excludePatterns);
}

// The user's own list begins with what holds so far, which another file may say.
void beginList(TomlEditor& editor, const PreferenceChanges& changes, const std::string& list) {
  if (editor.values().count(list) > 0) {
    return;
  }
  const auto before = changes.inForce(list);
  const auto* entries = before ? std::get_if<PreferenceArray>(&before->value) : nullptr;
  for (const PreferenceValue& entry : entries ? *entries : PreferenceArray()) {
    if (const auto* fields = std::get_if<PreferenceDictionary>(&entry.value)) {
      editor.addEntry(list, tomlFields(*fields));
    }
  }
}

Wording changeList(const PreferenceListServices& services, const std::string& list,
                   const PreferenceWriter::Change& change) {
  if (const std::string file = services.changes.fileAbove(list); !file.empty()) {
    return {"SETTINGS_DECIDED_ABOVE", {file}};
  }
  return services.changes.apply([&](TomlEditor& editor) {
    beginList(editor, services.changes, list);
    change(editor);
  });
}

// Changes the entry that was shown at `index`, wherever it is by now.
template <typename Entry>
Wording changeEntry(const PreferenceListServices& services, const std::string& list,
                    const Entry& shown, std::size_t index,
                    const std::function<void(TomlEditor&, std::size_t)>& change) {
  bool isGone = false;
  const Wording problem = changeList(services, list, [&](TomlEditor& editor) {
    TextStore store(editor.values());
    const TypedPreferences typed(store, services.folders, services.systemLog);
    const std::vector<Entry> entries = entriesIn(typed, &shown);
    if (index >= entries.size() || !isSame(entries[index], shown)) {
      const auto found = std::find_if(entries.begin(), entries.end(),
                                      [&](const Entry& each) { return isSame(each, shown); });
      isGone = found == entries.end();
      index = static_cast<std::size_t>(found - entries.begin());
    } else {
      isGone = false;
    }
    if (isGone) {
      throw PlatformException(PlatformException::Kind::notFound, "PreferenceEdit", "");
    }
    change(editor, index);
  });
  return isGone ? Wording{"SETTINGS_ENTRY_GONE", {}} : problem;
}

std::string withoutSlash(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) {
    path.pop_back();
  }
  return path;
}

std::string withSlash(std::string path) {
  return path.ends_with('/') ? path : std::move(path) + "/";
}

TomlField spelledPath(const std::string& path, const std::string& home) {
  if (isValidUtf8(path)) {
    return {"pathName", {abbreviatingWithTilde(path, home)}};
  }
  return {"pathURI", {"file://" + percentEncodedPath(path)}};
}

std::string expressionOf(const ExcludePattern& pattern, const std::string& home) {
  return pattern.isRegEx ? pattern.text : PathPattern::literalExpression(pattern.text, home);
}

bool excludesAllBelow(const PathPattern& pattern, const std::string& folder) {
  return std::all_of(std::begin(unlikeNames), std::end(unlikeNames),
                     [&](const char* name) { return pattern.matches(folder + name); });
}

}  // namespace

std::vector<ChosenFolder> ChosenFolders::all() const {
  return services_.preferences.value(key::quilloFolderArray);
}

ChosenFolders::Concern ChosenFolders::concernAbout(const std::string& given) const {
  const std::string path = withoutSlash(given);
  if (!path.starts_with('/') || path.find('\0') != std::string::npos) {
    return {Doubt::notAbsolute, ""};
  }
  const std::string real = RealPath(path).path();
  Concern covered;
  for (const ChosenFolder& folder : all()) {
    const std::string other = folder.path.starts_with('/') ? RealPath(folder.path).path() : "";
    if (other == real) {
      return {Doubt::already, folder.path};
    }
    if (!other.empty() && folder.withSubdirs && liesBelow(real, other)) {
      covered = {Doubt::covered, folder.path};
    }
  }
  const auto facts = fileFacts(path);
  if (!facts || !facts->isDirectory) {
    return {facts ? Doubt::isFile : Doubt::missing, ""};
  }
  const auto quarantine = services_.preferences.value(key::quarantineFolder);
  if (quarantine && quarantine->starts_with('/') &&
      withSlash(real).starts_with(withSlash(RealPath(*quarantine).path()))) {
    return {Doubt::inQuarantine, *quarantine};
  }
  if (covered.doubt != Doubt::none) {
    return covered;
  }
  if (real == "/") {
    return {Doubt::everything, ""};
  }
  const std::string home = RealPath(services_.folders.homeFolder()).path();
  return {real == home || liesBelow(home, real) ? Doubt::homeFolder : Doubt::none, ""};
}

Wording ChosenFolders::addFolders(const std::vector<std::string>& paths) {
  return changeList(services_, folderList, [&](TomlEditor& editor) {
    TextStore store(editor.values());
    const TypedPreferences typed(store, services_.folders, services_.systemLog);
    std::vector<std::string> there;
    for (const ChosenFolder& folder : typed.value(key::quilloFolderArray)) {
      there.push_back(withoutSlash(folder.path));
    }
    for (const std::string& given : paths) {
      const std::string path = withoutSlash(given);
      const bool isNew = std::find(there.begin(), there.end(), path) == there.end();
      if (path.starts_with('/') && isNew) {
        editor.addEntry(folderList, {spelledPath(path, services_.folders.homeFolder()),
                                     {"WatchSubdirs", {true}}});
        there.push_back(path);
      }
    }
  });
}

Wording ChosenFolders::setWithSubfolders(const ChosenFolder& shown, std::size_t index, bool with) {
  return changeEntry<ChosenFolder>(
      services_, folderList, shown, index, [&](TomlEditor& editor, std::size_t place) {
        editor.changeEntry(folderList, place, {{"WatchSubdirs", {with}}});
      });
}

Wording ChosenFolders::remove(const ChosenFolder& shown, std::size_t index) {
  return changeEntry<ChosenFolder>(
      services_, folderList, shown, index,
      [](TomlEditor& editor, std::size_t place) { editor.removeEntry(folderList, place); });
}

std::vector<ExcludePattern> Exclusions::all() const {
  return services_.preferences.everyEntry(key::excludePatterns);
}

Exclusions::Concern Exclusions::concernAbout(const ExcludePattern& pattern) const {
  if (pattern.text.empty()) {
    return {Doubt::empty, ""};
  }
  if (!isValidUtf8(pattern.text) || pattern.text.find('\0') != std::string::npos) {
    return {Doubt::notText, ""};
  }
  const PathPattern compiled(expressionOf(pattern, services_.folders.homeFolder()));
  if (!compiled.problem().empty()) {
    return {Doubt::notCompiled, compiled.problem()};
  }
  const std::vector<ExcludePattern> known = all();
  if (std::any_of(known.begin(), known.end(), [&](const ExcludePattern& each) {
        return each.isEnabled && each.text == pattern.text && each.isRegEx == pattern.isRegEx;
      })) {
    return {Doubt::already, ""};
  }
  if (excludesAllBelow(compiled, "/")) {
    return {Doubt::everything, ""};
  }
  for (const ChosenFolder& folder : services_.preferences.value(key::quilloFolderArray)) {
    if (excludesAllBelow(compiled, withSlash(folder.path))) {
      return {Doubt::wholeFolder, folder.path};
    }
  }
  return {};
}

Wording Exclusions::addExclusions(const std::vector<ExcludePattern>& patterns) {
  return changeList(services_, patternList, [&](TomlEditor& editor) {
    TextStore store(editor.values());
    const TypedPreferences typed(store, services_.folders, services_.systemLog);
    std::vector<ExcludePattern> known = typed.everyEntry(key::excludePatterns);
    for (const ExcludePattern& pattern : patterns) {
      const auto same =
          std::find_if(known.begin(), known.end(), [&pattern](const ExcludePattern& each) {
            return each.text == pattern.text && each.isRegEx == pattern.isRegEx;
          });
      if (same != known.end()) {
        editor.changeEntry(patternList, static_cast<std::size_t>(same - known.begin()),
                           {{"excludeEnabled", {pattern.isEnabled || same->isEnabled}}});
        continue;
      }
      editor.addEntry(patternList, {{"excludePattern", {pattern.text}},
                                    {"excludeEnabled", {pattern.isEnabled}},
                                    {"excludeRegEx", {pattern.isRegEx}}});
      known.push_back(pattern);
    }
  });
}

Wording Exclusions::change(const ExcludePattern& shown, std::size_t index,
                           const ExcludePattern& to) {
  return changeEntry<ExcludePattern>(services_, patternList, shown, index,
                                     [&](TomlEditor& editor, std::size_t place) {
                                       TomlFields fields;
                                       if (to.text != shown.text) {
                                         fields.push_back({"excludePattern", {to.text}});
                                       }
                                       if (to.isEnabled != shown.isEnabled) {
                                         fields.push_back({"excludeEnabled", {to.isEnabled}});
                                       }
                                       if (to.isRegEx != shown.isRegEx) {
                                         fields.push_back({"excludeRegEx", {to.isRegEx}});
                                       }
                                       editor.changeEntry(patternList, place, fields);
                                     });
}

Wording Exclusions::remove(const ExcludePattern& shown, std::size_t index) {
  return changeEntry<ExcludePattern>(
      services_, patternList, shown, index,
      [](TomlEditor& editor, std::size_t place) { editor.removeEntry(patternList, place); });
}

std::optional<ExcludePattern> Exclusions::patternFor(const std::string& path, bool isFolder) const {
  if (!path.starts_with('/') || !isValidUtf8(path) || path.find('\0') != std::string::npos) {
    return std::nullopt;
  }
  const std::string home = services_.folders.homeFolder();
  const std::string whole = isFolder ? withSlash(path) : path;
  if (isFolder && whole.find_first_of("{}") == std::string::npos) {
    return ExcludePattern{abbreviatingWithTilde(whole, home), false};
  }
  std::string expression = PathPattern::literalExpression(whole, home);
  for (const char* brace : {"{", "}"}) {
    expression = replacingAll(std::move(expression), brace, std::string("\\") + brace);
  }
  return ExcludePattern{"^" + expression + (isFolder ? "" : "$"), true};
}

}  // namespace quillo
