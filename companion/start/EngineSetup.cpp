#include "companion/start/EngineSetup.h"

#include <variant>

#include "companion/settings/PreferenceChanges.h"
#include "platform/Folders.h"
#include "platform/Session.h"
#include "posix/OwnFile.h"
#include "posix/Text.h"
#include "settings/FirstPreferences.h"
#include "settings/PreferenceTable.h"
#include "settings/TomlEditor.h"

namespace quillo {

std::string EngineSetup::textOf(const std::string& key) const {
  const auto inForce = services_.changes.inForce(key);
  const auto* const text = inForce ? std::get_if<std::string>(&inForce->value) : nullptr;
  return text ? *text : std::string();
}

Wording EngineSetup::setUp() {
  const FirstPreferences values = firstPreferencesOf(services_.folders);
  const std::string named = textOf(key::pathToClamav.name);
  if (!named.empty() && named != values.engine) {
    return {"OVERVIEW_ENGINE_ELSEWHERE", {named}};
  }
  if (const std::string problem = services_.makeEngine(values.engine); !problem.empty()) {
    return {"START_NO_ENGINE", {problem}};
  }
  const bool hasLog = !textOf(key::pathToUpdateLog.name).empty();
  if (!named.empty() && hasLog) {
    services_.notifications.post("VantrelQuilloShouldRestart", "Vantrel");
    return {};
  }
  // Where updates are logged has to be there for the updater.
  makeFolders(deletingLastPathComponent(values.updateLog));
  return services_.changes.apply([&](TomlEditor& editor) {
    if (named.empty()) {
      editor.set(key::pathToClamav.name, {values.engine});
    }
    if (!hasLog) {
      editor.set(key::pathToUpdateLog.name, {values.updateLog});
    }
    if (!services_.changes.inForce(key::needsExit1FreshclamFlag.name)) {
      editor.set(key::needsExit1FreshclamFlag.name, {true});
    }
  });
}

}  // namespace quillo
