#include <gtest/gtest.h>

#include <map>
#include <set>

#include "agent/PreferenceKeys.h"
#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

// Each key with its type and what holds when it is absent, as a document words them.
using Words = std::multimap<std::string, std::string>;

std::string linesOf(const std::string& document) {
  return contentsOfFile(QUILLO_SOURCE_DIR "/" + document).value_or("");
}

// "| `Key` | Type | When absent | What it does |"
Words wordsOfReadme() {
  Words words;
  bool ofPreferences = false;
  const std::string text = linesOf("README.md");
  for (const std::string_view line : split(text, '\n')) {
    if (!line.starts_with('|')) {
      ofPreferences = false;
    } else if (line.starts_with("| Key |")) {
      ofPreferences = true;
    } else if (ofPreferences && line.starts_with("| `")) {
      const auto cells = split(line, '|');
      const std::string key = replacingAll(std::string(trimmed(cells.at(1))), "`", "");
      const std::string type = replacingAll(std::string(trimmed(cells.at(2))), "`", "");
      words.emplace(key, type + "; when absent: " + std::string(trimmed(cells.at(3))));
    }
  }
  return words;
}

// .BR Key " (type; when absent: words)"
Words wordsOfManual() {
  Words words;
  const std::string text = linesOf("docs/man/vantrel-quillo-preferences.5");
  const std::string start = ".BR ";
  for (const std::string_view line : split(text, '\n')) {
    const std::size_t behindKey = line.find(" \" (");
    if (line.starts_with(start) && line.ends_with(")\"") && behindKey != std::string_view::npos) {
      const auto key = line.substr(start.size(), behindKey - start.size());
      words.emplace(replacingAll(std::string(key), "\"", ""),
                    line.substr(behindKey + 4, line.size() - behindKey - 6));
    }
  }
  return words;
}

TEST(PreferenceKeys, AreAllInTheReadmeAndNoOthers) {
  std::multiset<std::string> keys;
  for (const PreferenceKey& key : preferenceKeys) {
    keys.insert(key.name);
  }
  std::multiset<std::string> documented;
  for (const auto& [key, words] : wordsOfReadme()) {
    documented.insert(key);
  }
  EXPECT_EQ(documented, keys);
}

TEST(PreferenceKeys, AreInTheManualPageAsInTheReadme) {
  EXPECT_EQ(wordsOfManual(), wordsOfReadme());
}

}  // namespace
}  // namespace quillo
