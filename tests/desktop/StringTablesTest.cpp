#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "menu/StatusText.h"
#include "platform/linux/preferences/TomlFile.h"
#include "platform/linux/text/StringTables.h"
#include "platform/linux/text/VisibleText.h"
#include "posix/Text.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

const std::string shipped = QUILLO_SOURCE_DIR "/resources/strings";
constexpr const char* languages[] = {"de", "en", "es", "fr", "ja"};
using Words = std::vector<std::string>;

Words preferred(Environment::Variables variables) {
  return StringTables::preferredLanguages(Environment(std::move(variables)));
}

std::map<std::string, std::string> tableOf(const std::string& language) {
  const TomlFile file = TomlFile::read(shipped + "/" + language + ".toml");
  EXPECT_EQ(file.problem, "");
  std::map<std::string, std::string> result;
  for (const auto& [key, value] : file.values) {
    const auto* text = std::get_if<std::string>(&value.value);
    EXPECT_NE(text, nullptr) << language << " " << key << " is no string";
    result.emplace(key, text != nullptr ? *text : "");
  }
  return result;
}

std::size_t placeholdersIn(const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = text.find("%@"); at != std::string::npos; at = text.find("%@", at + 2)) {
    ++count;
  }
  return count;
}

TEST(PreferredLanguages, FollowTheRulesOfGettext) {
  EXPECT_EQ(preferred({{"LANG", "de_AT.UTF-8"}}), (Words{"de_AT", "de"}));
  EXPECT_EQ(preferred({{"LANG", "de_DE"}, {"LC_MESSAGES", "fr_FR@euro"}}), (Words{"fr_FR", "fr"}));
  EXPECT_EQ(preferred({{"LANG", "de_DE"}, {"LC_ALL", "ja_JP.UTF-8"}}), (Words{"ja_JP", "ja"}));
  EXPECT_EQ(preferred({{"LANG", "de_DE"}, {"LANGUAGE", "es:fr_CA"}}), (Words{"es", "fr_CA", "fr"}));
  EXPECT_EQ(preferred({{"LANG", "C.UTF-8"}, {"LANGUAGE", "es"}}), Words());
  EXPECT_EQ(preferred({{"LC_ALL", "POSIX"}, {"LANG", "de_DE"}}), Words());
  EXPECT_EQ(preferred({{"LANG", "../../etc"}}), Words());
  EXPECT_EQ(preferred({}), Words());
}

TEST(StringTablesTest, FallsBackToTheNextLanguageThenToEnglishThenToTheCaller) {
  const TemporaryFolder folder;
  folder.write("en.toml", "A = 'a'\nB = 'b'\nC = 'c'\n");
  folder.write("de.toml", "A = 'ä'\nB = 'bé'\n");
  folder.write("de_AT.toml", "A = 'å'\n");
  folder.write("windows/de.toml", "W = 'w'\n");
  StringTables tables({folder.path(), folder.path() + "/windows"}, {"de_AT", "de"}, nullptr);
  EXPECT_EQ(tables.stringForKey("A", ""), "å");
  EXPECT_EQ(tables.stringForKey("B", ""), "bé");
  EXPECT_EQ(tables.stringForKey("C", ""), "c");
  EXPECT_EQ(tables.stringForKey("W", ""), "w");
  EXPECT_EQ(tables.stringForKey("D", "fallback"), "fallback");
}

TEST(StringTablesTest, ReportsTheLanguageOfItsFirstTable) {
  const TemporaryFolder folder;
  folder.write("en.toml", "A = 'a'\n");
  folder.write("de.toml", "A = 'ä'\n");
  const auto languageFor = [&](const Words& wanted) {
    return StringTables({folder.path()}, wanted, nullptr).language();
  };
  EXPECT_EQ(languageFor({"nl", "de_AT", "de"}), "de");
  EXPECT_EQ(languageFor({"nl"}), "en");
  EXPECT_EQ(languageFor({"en", "de"}), "en");
  EXPECT_EQ(StringTables({folder.path() + "/none"}, {"de"}, nullptr).language(), "en");
}

TEST(StringTablesTest, PassesOverAnUnknownLanguageAndReportsABrokenTable) {
  const TemporaryFolder folder;
  folder.write("en.toml", "A = 'a'\n");
  folder.write("de.toml", "A = \n");
  std::vector<std::string> problems;
  StringTables tables({folder.path()}, {"nn", "de"},
                      [&](const std::string& problem) { problems.push_back(problem); });
  EXPECT_EQ(tables.stringForKey("A", ""), "a");
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_EQ(problems[0].find(folder.path() + "/de.toml:1:"), 0U) << problems[0];
}

TEST(ShippedStrings, HaveTheSameKeysAndPlaceholdersInEveryLanguage) {
  const auto english = tableOf("en");
  for (const char* key : {"FOUND",
                          "REMOVED",
                          "QUARANTINED",
                          "SUCCESSFUL",
                          "ALREADY_UP_TO_DATE",
                          "UNKNOWN_ERROR",
                          "CLAMDSCAN_ERROR",
                          "FSEVENT_NOT_SETUID",
                          "WAIT",
                          "DEFINITIONS_MISSING",
                          "PREFERENCES_UNREADABLE",
                          "AND_MORE",
                          "STATUS_IDLE",
                          "STATUS_NO_ENGINE",
                          "STATUS_SCANNING",
                          "STATUS_SCANNING_ONE",
                          "STATUS_UPDATING",
                          "STATUS_WATCHING",
                          "STATUS_WATCHING_ONE",
                          "SCANNED",
                          "DIGITS_SEPARATOR",
                          "DIGITS_GROUPED_FROM"}) {
    EXPECT_TRUE(english.count(key)) << key;
  }
  for (const char* language : languages) {
    const auto table = tableOf(language);
    for (const auto& [key, text] : english) {
      const auto found = table.find(key);
      ASSERT_NE(found, table.end()) << language << " lacks " << key;
      EXPECT_FALSE(trimmed(found->second).empty()) << language << " " << key;
      EXPECT_EQ(placeholdersIn(found->second), placeholdersIn(text)) << language << " " << key;
    }
    EXPECT_EQ(table.size(), english.size()) << language << " has keys that English lacks";
  }
}

// Heading, what is wrong, what to do next.
TEST(ShippedStrings, SayOfEveryProblemOfTheEngineThreeThings) {
  for (const char* language : languages) {
    const auto table = tableOf(language);
    for (const char* key :
         {"ENGINE_NOT_CHOSEN", "ENGINE_NO_UPDATE_LOG", "ENGINE_DAEMON_MISSING",
          "ENGINE_DAEMON_FAILED", "ENGINE_SCANNER_MISSING", "ENGINE_SCANNER_FAILED",
          "ENGINE_UPDATER_MISSING", "ENGINE_UPDATER_UNKNOWN"}) {
      ASSERT_EQ(table.count(key), 1U) << language << " " << key;
      EXPECT_EQ(split(table.at(key), '\n').size(), 3U) << language << " " << key;
    }
  }
}

TEST(ShippedStrings, SayOfAFailedMoveWhichAndWhy) {
  for (const char* language : languages) {
    const auto table = tableOf(language);
    EXPECT_EQ(placeholdersIn(table.at("NOT_MOVED")), 2U) << language;
    EXPECT_EQ(placeholdersIn(table.at("NOT_TRASHED")), 1U) << language;
  }
}

void expectNoneOf(const std::vector<std::string>& words, const std::string& table) {
  for (const auto& [key, text] : tableOf(table)) {
    for (const std::string& word : words) {
      EXPECT_EQ(text.find(word), std::string::npos) << table << " " << key << ": " << word;
    }
  }
}

// One word for each thing: the others would make the user look for a difference.
TEST(ShippedStrings, HaveOneWordForEachThing) {
  const std::map<std::string, std::vector<std::string>> others = {
      {"en", {"virus scanner", "Virus Scanner", "settings", "Settings"}},
      {"de",
       {"Prüfprogramm", "Engine", "engine", "Schadprogramm", "Malware", "Dienst", "Voreinst"}},
      {"es", {"antivirus", "malware", "ajustes"}},
      {"fr", {"antivirus", "maliciels", "réglages"}},
      {"ja", {"ウイルススキャナー", "検査"}}};
  for (const auto& [language, words] : others) {
    for (const std::string& table : {language, "windows/" + language}) {
      expectNoneOf(words, table);
    }
  }
}

TEST(ShippedStrings, HaveOneWordForEachThingInBothPrograms) {
  const std::map<std::string, std::vector<std::string>> others = {
      {"de",
       {"Schadprogramm", "Malware", "Computer", "Daemon", "Laufwerk ", "Helfer", "Probe",
        "Scanprotokoll", "Scan-Protokoll", "Wächter"}},
      {"es", {"malware", "demonio", "yudante", "ordenador"}},
      {"fr", {"maliciels", "démon", "ssistant", "'"}},
      {"ja",
       {"フォルダー", "ウインドウ", "コンピューター", "ヘルパー", "補助ツール", "状態アイコン",
        "ごみ箱"}}};
  for (const auto& [language, words] : others) {
    std::vector<std::string> tables = {language, "windows/" + language};
    for (const auto& page : std::filesystem::directory_iterator(shipped + "/vantrel")) {
      tables.push_back("vantrel/" + page.path().filename().string() + "/" + language);
    }
    for (const std::string& table : tables) {
      expectNoneOf(words, table);
    }
  }
}

TEST(ShippedStrings, AreTranslated) {
  const auto english = tableOf("en");
  for (const char* language : languages) {
    if (std::string(language) == "en") {
      continue;
    }
    for (const auto& [key, text] : tableOf(language)) {
      if (key.starts_with("DIGITS_") || key.starts_with("SIZE_")) {
        continue;  // no words
      }
      EXPECT_NE(text, english.count(key) ? english.at(key) : "") << language << " " << key;
    }
  }
}

// Where the language has a blank there, a line must not break at it.
TEST(ShippedStrings, InFrenchKeepPunctuationWithItsWord) {
  for (const char* table : {"fr", "windows/fr"}) {
    for (const auto& [key, text] : tableOf(table)) {
      for (const char* loose : {" :", " ;", " !", " ?", "« ", " »"}) {
        EXPECT_EQ(text.find(loose), std::string::npos) << table << " " << key;
      }
    }
  }
}

TEST(ShippedStrings, SayANumberOfFilesWithTheDigitsOfTheLanguage) {
  const std::map<std::string, std::string> expected = {{"de", "Prüft 1.204 Dateien"},
                                                       {"en", "Scanning 1,204 files"},
                                                       {"es", "Analizando 1204 archivos"},
                                                       {"fr", "Analyse de 1\u202f204 fichiers"},
                                                       {"ja", "1,204 個のファイルをスキャン中"}};
  StatusFacts facts;
  facts.watching = facts.busy = true;
  facts.filesBeingScanned = 1204;
  SystemClock clock;
  for (const auto& [language, words] : expected) {
    StringTables tables({shipped}, {language}, nullptr);
    const StatusText text(tables, clock, nullptr, nullptr);
    EXPECT_EQ(text.wordsFor(facts), words);
    EXPECT_EQ(displayLines(text.wordsFor(facts)).toStdString(), words);
  }
}

TEST(ShippedStrings, AreSortedAndOfKnownLanguagesOnly) {
  std::set<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(shipped)) {
    if (entry.path().extension() != ".toml") {
      continue;
    }
    found.insert(entry.path().filename().string());
    Words keys;
    const std::string text = TemporaryFolder::read(entry.path());
    for (const std::string_view line : split(text, '\n')) {
      if (!line.empty() && line.front() != '#') {
        keys.emplace_back(line.substr(0, line.find(' ')));
      }
    }
    EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end())) << entry.path();
  }
  EXPECT_EQ(found, (std::set<std::string>{"de.toml", "en.toml", "es.toml", "fr.toml", "ja.toml"}));
}

TEST(ShippedStrings, LieWhereTheBuiltAgentLooks) {
  StringTables tables({QUILLO_BINARY_DIR "/resources/strings"}, {"de"}, nullptr);
  EXPECT_EQ(tables.stringForKey("WAIT", ""), tableOf("de").at("WAIT"));
}

}  // namespace
}  // namespace quillo
