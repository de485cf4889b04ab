#include "settings/FirstPreferences.h"

#include <array>
#include <cstdio>
#include <string_view>

#include "platform/Folders.h"
#include "posix/Accounts.h"
#include "posix/FileFacts.h"
#include "posix/FileUri.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr const char* engineOfMachine = "/usr/local/vantrel";
constexpr std::string_view folderEntry = "[[QuilloFolderArray]]\n";
constexpr std::string_view folderLine = "pathName = \"@FOLDER@\"";

// Between the quotes of a basic string (toml.io).
std::string quoted(const std::string& text) {
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < ' ' || byte == 0x7f) {
      std::array<char, 8> escape = {};
      std::snprintf(escape.data(), escape.size(), "\\u%04X", static_cast<unsigned int>(byte));
      result += escape.data();
    } else {
      result += c == '"' || c == '\\' ? "\\" : "";
      result += c;
    }
  }
  return result;
}

// TOML is UTF-8; another name stands as its URI.
std::string lineFor(const std::string& folder, const std::string& home) {
  return isValidUtf8(folder) ? "pathName = \"" + quoted(abbreviatingWithTilde(folder, home)) + "\""
                             : "pathURI = \"file://" + percentEncodedPath(folder) + "\"";
}

// Returns false when no line of that key is commented out.
bool putInForce(std::string& text, std::string_view key) {
  const std::string commented = "\n#" + std::string(key) + " = ";
  const std::size_t at = text.find(commented);
  if (at == std::string::npos) {
    return false;
  }
  text.erase(at + 1, 1);
  return true;
}

bool putInForce(std::string& text, InfectedFileAction action) {
  switch (action) {
    case InfectedFileAction::quarantine:
      return putInForce(text, "QuilloQuarantineFiles") && putInForce(text, "QuarantineFolder");
    case InfectedFileAction::moveToTrash:
      return putInForce(text, "QuilloTrashFiles");
    default:
      return true;
  }
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

FirstPreferences firstPreferencesOf(const Folders& folders) {
  const std::string home = folders.homeFolder();
  const std::string own = folders.dataFolder() + "/vantrel/engine";
  const bool isMachines = !fileExists(own) && fileExists(std::string(engineOfMachine) + "/bin");
  return {isMachines ? engineOfMachine : own, home + "/Library/Logs/vantrel-freshclam.log",
          abbreviatingWithTilde(folders.downloadsFolder(), home)};
}

std::string filledIn(const std::string& text, const FirstPreferences& values,
                     const FirstChoice& choice, const std::string& home) {
  const std::size_t entryAt = text.find(folderEntry);
  if (entryAt == std::string::npos || text.find(folderLine, entryAt) == std::string::npos) {
    return {};
  }
  std::string result = text.substr(0, entryAt);
  if (!putInForce(result, choice.action)) {
    return {};
  }
  result = filledIn(result, values);
  const std::string entry = text.substr(entryAt);
  for (const std::string& folder : choice.folders) {
    result += replacingAll(entry, folderLine, lineFor(folder, home));
  }
  return result;
}

}  // namespace quillo
