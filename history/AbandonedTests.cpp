#include "history/AbandonedTests.h"

#include <algorithm>
#include <optional>

#include "posix/FileFacts.h"
#include "posix/OwnFile.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::size_t largestFile = 65536;

bool isTestName(std::string_view name) {
  return name.starts_with(selfTestBeginning) && name.find('\n') == std::string_view::npos;
}

}  // namespace

std::vector<std::string> AbandonedTests::names() const {
  std::vector<std::string> names;
  const std::string text = contentsOfRegularFile(path_, Links::refused, largestFile).value_or("");
  for (const std::string_view line : split(text, '\n')) {
    if (!line.empty()) {
      names.emplace_back(line);
    }
  }
  return names;
}

std::string AbandonedTests::add(const std::string& path) const {
  const std::string name(lastPathComponent(path));
  if (!isTestName(name)) {
    return {};
  }
  makeFolders(deletingLastPathComponent(path_));
  std::vector<std::string> all = names();
  all.push_back(name);
  std::string text;
  for (std::size_t at = all.size() - std::min(all.size(), most); at < all.size(); ++at) {
    text += all[at] + "\n";
  }
  return writeOwnFile("The file of self-tests", path_, text);
}

bool AbandonedTests::have(std::string_view path) const {
  const std::string_view name = lastPathComponent(path);
  if (!isTestName(name)) {
    return false;
  }
  const std::vector<std::string> all = names();
  return std::find(all.begin(), all.end(), name) != all.end();
}

}  // namespace quillo
