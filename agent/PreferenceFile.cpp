#include "agent/PreferenceFile.h"

#include "platform/Application.h"
#include "platform/Folders.h"
#include "platform/PreferenceStore.h"
#include "platform/SystemLog.h"
#include "platform/Workspace.h"
#include "posix/FileFacts.h"
#include "posix/OwnFile.h"
#include "posix/Text.h"
#include "settings/FirstPreferences.h"
#include "settings/PreferenceTable.h"

namespace quillo {
namespace {

// As one word of a shell.
std::string shellWord(const std::string& text) {
  return "'" + replacingAll(text, "'", "'\\''") + "'";
}

}  // namespace

std::string PreferenceFile::path() const {
  return services_.preferenceStore.fileOf(mainApplicationIdentifier);
}

std::string PreferenceFile::engineCommand(const std::optional<std::string>& chosenEngine) const {
  return shellWord(services_.folders.resourceFolder() + "/engine-tools/vantrel-engine-tree") + " " +
         shellWord(chosenEngine.value_or(firstPreferencesOf(services_.folders).engine));
}

std::optional<std::string> PreferenceFile::first() const {
  const auto contents =
      contentsOfFile(services_.folders.resourceFolder() + "/preferences/first.toml.in");
  if (!contents) {
    return std::nullopt;
  }
  const std::string text = filledIn(*contents, firstPreferencesOf(services_.folders));
  return services_.preferenceStore.hasAny() ? commentedOut(text) : text;
}

void PreferenceFile::open() {
  std::string problem;
  if (!fileExists(path())) {
    services_.preferenceStore.synchronize();
    const auto contents = first();
    problem = contents ? writeNewFile("The first preferences", path(), *contents)
                       : "The first preferences cannot be written: their template is missing";
  }
  if (problem.empty() && services_.workspace.openFile(path())) {
    return;
  }
  services_.systemLog.log(problem.empty() ? "No application could be found that opens " + path()
                                          : problem);
  services_.application.beep();
}

}  // namespace quillo
