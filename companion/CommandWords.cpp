#include "companion/CommandWords.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ostream>

#include "posix/Text.h"

namespace quillo {

std::optional<CommandWords> commandWordsOf(const std::vector<std::string>& words,
                                           const OptionTaker& take) {
  CommandWords asked;
  bool mayBeOption = true;
  for (std::size_t at = 0; at < words.size(); ++at) {
    const std::string& word = words[at];
    if (mayBeOption && word == "--") {
      mayBeOption = false;
    } else if (mayBeOption && word == "--json") {
      asked.asJson = true;
    } else if (mayBeOption && word.size() > 1 && word.starts_with('-')) {
      if (!take || !take(words, at)) {
        return std::nullopt;
      }
    } else if (word.empty()) {
      return std::nullopt;
    } else {
      asked.operands.push_back(word);
    }
  }
  return asked;
}

int showUsage(std::ostream& errors, const std::string& forms) {
  constexpr int misuse = 2;
  const char* before = "usage: ";
  for (const std::string_view form : split(forms, '\n')) {
    errors << before << "vantrel " << form << "\n";
    before = "       ";
  }
  return misuse;
}

std::string currentFolder() {
  char* const folder = getcwd(nullptr, 0);
  std::string path = folder ? folder : "";
  std::free(folder);
  return path;
}

std::string absolutePath(const std::string& path, const std::string& folder) {
  if (path.starts_with('/')) {
    // As Linux takes it; in a URI two of them stand before the name of a host.
    return path.substr(std::min(path.find_first_not_of('/'), path.size()) - 1);
  }
  if (path.empty() || folder.empty()) {
    return path;
  }
  std::string relative = path;
  while (relative.starts_with("./") && relative.size() > 2) {
    relative.erase(0, 2);
  }
  return (folder == "/" ? "" : folder) + "/" + relative;
}

}  // namespace quillo
