#include "clamav/DaemonProcesses.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::string_view longOption = "--config-file";

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool isNumber(std::string_view name) {
  return !name.empty() && name.find_first_not_of("0123456789") == std::string_view::npos;
}

bool isMachineDaemon(const std::string& process, const std::vector<uid_t>& users,
                     const std::vector<std::string>& configurations) {
  if (contentOf(process + "/comm") != "clamd\n") {
    return false;
  }
  struct stat status = {};
  if (stat(process.c_str(), &status) != 0 ||
      std::find(users.begin(), users.end(), status.st_uid) == users.end()) {
    return false;
  }
  const std::string commandLine = contentOf(process + "/cmdline");
  if (commandLine.empty()) {
    return false;  // it has ended and waits to be reaped
  }
  const std::vector<std::string_view> pieces = split(commandLine, '\0');
  const std::string file = configurationOption({pieces.begin(), pieces.end()});
  return file.empty() ||
         std::find(configurations.begin(), configurations.end(), file) != configurations.end();
}

}  // namespace

std::string configurationOption(const std::vector<std::string>& words) {
  for (std::size_t i = 1; i < words.size(); ++i) {
    const std::string& word = words[i];
    const std::string next = i + 1 < words.size() ? words[i + 1] : std::string();
    if (word == "-c" || word == longOption) {
      return next;
    }
    if (word.compare(0, longOption.size() + 1, std::string(longOption) + "=") == 0) {
      return word.substr(longOption.size() + 1);
    }
    if (word.size() > 2 && word.compare(0, 2, "-c") == 0) {
      return word.substr(2);
    }
  }
  return {};
}

bool daemonRuns(const std::string& processFolder, const std::vector<uid_t>& users,
                const std::vector<std::string>& configurations) {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(processFolder.c_str()), closedir);
  if (!folder) {
    return false;
  }
  while (const dirent* entry = readdir(folder.get())) {
    if (isNumber(entry->d_name) &&
        isMachineDaemon(processFolder + "/" + entry->d_name, users, configurations)) {
      return true;
    }
  }
  return false;
}

}  // namespace quillo
