#include "platform/linux/services/LinuxFolders.h"

#include <unistd.h>

#include <string_view>

#include "platform/linux/services/Environment.h"
#include "posix/Accounts.h"
#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

std::optional<std::string> existing(const std::optional<std::string>& folder) {
  const auto facts = folder ? fileFacts(*folder) : std::nullopt;
  return facts && facts->isDirectory ? folder : std::nullopt;
}

std::string homeOf(const Environment& environment) {
  if (const auto home = environment.folder("HOME")) {
    return *home;
  }
  const std::string home = accountNumbered(getuid()).home;
  return home.empty() ? "/" : home;
}

std::optional<std::string> temporaryOf(const Environment& environment) {
  const auto runtime = existing(environment.folder("XDG_RUNTIME_DIR"));
  return runtime ? runtime : existing(environment.folder("TMPDIR"));
}

// As xdg-user-dirs(5) names it for this user, in the user's language. A folder that was switched
// off is said to be the home folder itself.
std::string downloadsOf(const Environment& environment, const std::string& home) {
  const std::string settings =
      environment.folder("XDG_CONFIG_HOME").value_or(home + "/.config") + "/user-dirs.dirs";
  constexpr std::string_view beginning = "XDG_DOWNLOAD_DIR=\"";
  const std::string contents = contentsOfFile(settings).value_or("");
  for (std::string_view line : split(contents, '\n')) {
    const std::size_t end = line.rfind('"');
    if (!line.starts_with(beginning) || end < beginning.size()) {
      continue;
    }
    std::string folder = replacingAll(
        std::string(line.substr(beginning.size(), end - beginning.size())), "$HOME", home);
    if (folder.starts_with('/') && folder != home && folder != home + "/") {
      return folder;
    }
  }
  return home + "/Downloads";
}

std::string stateOf(const Environment& environment) {
  const auto folder = environment.folder("XDG_STATE_HOME");
  return (folder ? *folder : homeOf(environment) + "/.local/state") + "/vantrel";
}

std::string resourcesOf(const std::string& executable) {
  const std::string folder = deletingLastPathComponent(executable);
  if (fileExists(folder + "/CMakeCache.txt")) {
    return folder + "/resources";
  }
  const std::string prefix = deletingLastPathComponent(folder);
  return (prefix == "/" ? "" : prefix) + "/lib/vantrel-quillo";
}

}  // namespace

LinuxFolders::LinuxFolders(const Environment& environment, const std::string& executable)
    : home_(homeOf(environment)),
      temporary_(temporaryOf(environment)),
      data_(environment.folder("XDG_DATA_HOME").value_or(home_ + "/.local/share")),
      state_(stateOf(environment)),
      downloads_(downloadsOf(environment, home_)),
      resources_(resourcesOf(executable)) {}

std::string LinuxFolders::pathOfThisProgram() {
  std::string path = targetOfLink("/proc/self/exe").value_or("");
  // After an upgrade another file lies under the name by which this one was started (proc(5)).
  static constexpr std::string_view replaced = " (deleted)";
  if (path.ends_with(replaced) && !fileExists(path)) {
    const std::string name = path.substr(0, path.size() - replaced.size());
    return fileExists(name) ? name : path;
  }
  return path;
}

}  // namespace quillo
