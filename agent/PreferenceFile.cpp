#include "agent/PreferenceFile.h"

#include "platform/Application.h"
#include "platform/Folders.h"
#include "platform/PreferenceStore.h"
#include "platform/SystemLog.h"
#include "platform/Workspace.h"
#include "posix/Accounts.h"
#include "posix/FileFacts.h"
#include "posix/OwnFile.h"
#include "posix/Text.h"
#include "settings/PreferenceTable.h"

namespace quillo {
namespace {

constexpr const char* engineOfMachine = "/usr/local/vantrel";

// Between the quotes of a basic string (toml.io).
std::string quoted(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      result += '\\';
    }
    result += c;
  }
  return result;
}

// As one word of a shell.
std::string shellWord(const std::string& text) {
  return "'" + replacingAll(text, "'", "'\\''") + "'";
}

}  // namespace

std::string filledIn(std::string text, const FirstPreferences& values) {
  text = replacingAll(text, "@ENGINE@", quoted(values.engine));
  text = replacingAll(text, "@UPDATE_LOG@", quoted(values.updateLog));
  return replacingAll(text, "@FOLDER@", quoted(values.folder));
}

std::string commentedOut(const std::string& text) {
  std::string result;
  for (const std::string_view line : split(text, '\n')) {
    const bool isComment = line.empty() || line.front() == '#';
    result.append(isComment ? "" : "#").append(line).append("\n");
  }
  if (!result.empty()) {
    result.pop_back();
  }
  return result;
}

std::string PreferenceFile::path() const {
  return services_.preferenceStore.fileOf(mainApplicationIdentifier);
}

std::string PreferenceFile::engineFolder() const {
  const std::string own = services_.folders.dataFolder() + "/vantrel/engine";
  const bool isMachines = !fileExists(own) && fileExists(std::string(engineOfMachine) + "/bin");
  return isMachines ? engineOfMachine : own;
}

std::string PreferenceFile::engineCommand(const std::optional<std::string>& chosenEngine) const {
  return shellWord(services_.folders.resourceFolder() + "/engine-tools/vantrel-engine-tree") + " " +
         shellWord(chosenEngine.value_or(engineFolder()));
}

std::optional<std::string> PreferenceFile::first() const {
  const std::string home = services_.folders.homeFolder();
  const auto contents =
      contentsOfFile(services_.folders.resourceFolder() + "/preferences/first.toml.in");
  if (!contents) {
    return std::nullopt;
  }
  const std::string text =
      filledIn(*contents, {engineFolder(), home + "/Library/Logs/vantrel-freshclam.log",
                           abbreviatingWithTilde(services_.folders.downloadsFolder(), home)});
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
