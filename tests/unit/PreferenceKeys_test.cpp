#include "agent/PreferenceKeys.h"

#include <gtest/gtest.h>

#include <set>

#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

std::multiset<std::string> keysOfReadme() {
  const auto readme = contentsOfFile(QUILLO_SOURCE_DIR "/README.md");
  std::multiset<std::string> keys;
  bool ofPreferences = false;
  static const std::string rowStart = "| `";
  const std::string text = readme.value_or("");
  for (const std::string_view line : split(text, '\n')) {
    if (!line.starts_with('|')) {
      ofPreferences = false;
    } else if (line.starts_with("| Key |")) {
      ofPreferences = true;
    } else if (ofPreferences && line.starts_with(rowStart)) {
      const std::string_view rest = line.substr(rowStart.size());
      keys.emplace(rest.substr(0, rest.find('`')));
    }
  }
  return keys;
}

TEST(PreferenceKeys, AreAllInTheReadmeAndNoOthers) {
  std::multiset<std::string> keys;
  for (const PreferenceKey& key : preferenceKeys) {
    keys.insert(key.name);
  }
  EXPECT_EQ(keysOfReadme(), keys);
}

}  // namespace
}  // namespace quillo
