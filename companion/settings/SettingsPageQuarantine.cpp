// The page of settings: the choice of the quarantine folder.

#include <utility>

#include "companion/quarantine/QuarantineFolderDoubts.h"
#include "companion/settings/SettingsPage.h"
#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "posix/Accounts.h"
#include "posix/FileUri.h"
#include "posix/Text.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

std::string withSlash(const std::string& path) { return path.ends_with('/') ? path : path + "/"; }

PreferenceValue folderValue(const std::string& path, const std::string& home,
                            const PreferenceDictionary& before) {
  const auto found = before.find(key::quarantineFolder.name);
  const auto* table =
      found == before.end() ? nullptr : std::get_if<PreferenceDictionary>(&found->second.value);
  if (isValidUtf8(path) && !table) {
    return {abbreviatingWithTilde(path, home)};
  }
  PreferenceDictionary changed = table ? *table : PreferenceDictionary();
  changed.erase("path");
  changed.erase("URI");
  if (isValidUtf8(path)) {
    changed["path"] = {abbreviatingWithTilde(path, home)};
  } else {
    changed["URI"] = {"file://" + percentEncodedPath(path)};
  }
  return {std::move(changed)};
}

}  // namespace

void SettingsPage::setQuarantineFolder(const std::string& path) {
  if (path == services_.preferences.value(key::quarantineFolder).value_or("")) {
    return;
  }
  if (!path.starts_with('/')) {
    report({"SETTINGS_WHOLE_PATH", {path}});
    return;
  }
  askAboutQuarantine(path, [this, path] { writeQuarantineFolder(path); });
}

void SettingsPage::askAboutQuarantine(const std::string& path, std::function<void()> take) {
  std::string doubts;
  for (const Wording& doubt :
       doubtsAboutQuarantine(path, services_.preferences.value(key::quilloFolderArray))) {
    doubts += (doubts.empty() ? "" : "\n\n") + doubt.in(services_.localizedStrings);
  }
  if (doubts.empty()) {
    take();
    return;
  }
  Question question;
  question.text = doubts;
  question.buttons = {text("SETTINGS_TAKE_IT"), text("SETTINGS_CANCEL")};
  question.isDangerous = true;
  window_.ask(question, [this, take = std::move(take)](std::size_t button) {
    if (button == 0) {
      take();
    } else {
      list();
    }
  });
}

void SettingsPage::writeQuarantineFolder(const std::string& path) {
  const std::string before = services_.preferences.value(key::quarantineFolder).value_or("");
  const Wording problem = services_.changes.apply([&](TomlEditor& editor) {
    editor.set(key::quarantineFolder.name,
               folderValue(withSlash(path), services_.folders.homeFolder(), editor.values()));
  });
  report(problem);
  if (problem.empty() && holdsFiles(before)) {
    say({"SETTINGS_OLD_QUARANTINE", {abbreviated(before)}});
  }
}

}  // namespace quillo
