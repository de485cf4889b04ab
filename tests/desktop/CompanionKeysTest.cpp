// The texts of overview, status and doctor, as the sources name them and as the tables have them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <string>

#include "platform/linux/preferences/TomlFile.h"
#include "posix/FileFacts.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

constexpr const char* tables[] = {"command", "doctor", "foldercare", "guard", "overview"};
constexpr const char* languages[] = {"de", "en", "es", "fr", "ja"};
constexpr const char* sources[] = {"BusAgentLink", "Counting",     "DoctorCommand", "EngineChecks",
                                   "EngineSetup",  "Examination",  "FolderCare",    "Guard",
                                   "HelperChecks", "OverviewPage", "OverviewText",  "PlaceChecks",
                                   "StatusCommand"};

std::map<std::string, std::string> textsIn(const std::string& language) {
  std::map<std::string, std::string> texts;
  for (const char* table : tables) {
    const TomlFile file =
        TomlFile::read(std::string(QUILLO_SOURCE_DIR "/resources/strings/vantrel/") + table + "/" +
                       language + ".toml");
    EXPECT_EQ(file.problem, "") << table << " " << language;
    for (const auto& [key, value] : file.values) {
      const auto* text = std::get_if<std::string>(&value.value);
      texts[key] = text ? *text : "";
    }
  }
  return texts;
}

// What stands in quotes and looks like a key, in sources and interface file.
std::set<std::string> wordsIn(const std::string& contents) {
  std::set<std::string> words;
  for (std::size_t at = contents.find('"'); at != std::string::npos;
       at = contents.find('"', at + 1)) {
    std::size_t end = at + 1;
    while (end < contents.size() &&
           (std::isupper(static_cast<unsigned char>(contents[end])) != 0 || contents[end] == '_')) {
      ++end;
    }
    const std::string word = contents.substr(at + 1, end - at - 1);
    const std::size_t mark = word.find('_');
    if (end < contents.size() && contents[end] == '"' && mark != std::string::npos && mark > 0) {
      words.insert(word);
    }
  }
  return words;
}

std::set<std::string> usedWords() {
  std::set<std::string> used;
  for (const char* folder : {"/companion", "/platform/linux/session"}) {
    for (const auto& entry :
         fs::recursive_directory_iterator(std::string(QUILLO_SOURCE_DIR) + folder)) {
      const std::string name = entry.path().stem();
      if (entry.path().extension() == ".cpp" &&
          std::find(std::begin(sources), std::end(sources), name) != std::end(sources)) {
        used.merge(wordsIn(contentsOfFile(entry.path()).value_or("")));
      }
    }
  }
  for (const char* file :
       {"/app/vantrel/GuidePages.cpp", "/resources/interface/vantrel/overview.ui"}) {
    used.merge(wordsIn(contentsOfFile(QUILLO_SOURCE_DIR + std::string(file)).value_or("")));
  }
  return used;
}

TEST(CompanionKeys, AreTheSameInEveryLanguageWithAsManyPlacesToFill) {
  const auto english = textsIn("en");
  const auto placesIn = [](const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find("%@"); at != std::string::npos; at = text.find("%@", at + 1)) {
      ++count;
    }
    return count;
  };
  for (const char* language : languages) {
    const auto other = textsIn(language);
    EXPECT_EQ(other.size(), english.size()) << language;
    for (const auto& [key, text] : english) {
      ASSERT_EQ(other.count(key), 1U) << language << " " << key;
      EXPECT_NE(other.at(key), "") << language << " " << key;
      EXPECT_EQ(placesIn(other.at(key)), placesIn(text)) << language << " " << key;
    }
  }
}

TEST(CompanionKeys, ThatAreUsedHaveATextAndNoTextIsUnused) {
  const auto texts = textsIn("en");
  std::set<std::string> used;
  for (const std::string& word : usedWords()) {
    // Of counted texts, and of checks that come out in several ways, the beginning stands there.
    std::size_t found = 0;
    for (const char* ending :
         {"", "_ONE", "_MANY", "_GOOD", "_NONE", "_UNKNOWN", "_PROBLEM", "_REMEDY"}) {
      if (texts.count(word + ending) == 1) {
        used.insert(word + ending);
        ++found;
      }
    }
    const bool isOfOthers =
        word == "DIGITS_SEPARATOR" || word == "DIGITS_GROUPED_FROM" || word == "START_NO_ENGINE";
    EXPECT_TRUE(found > 0 || isOfOthers) << word;
  }
  for (const auto& [key, text] : texts) {
    EXPECT_EQ(used.count(key), 1U) << key;
  }
}

}  // namespace
}  // namespace quillo
