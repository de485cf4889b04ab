#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QXmlStreamReader>
#include <map>
#include <set>
#include <string>

#include "platform/linux/preferences/TomlFile.h"
#include "platform/linux/tray/QtMenu.h"

namespace quillo {
namespace {

using Texts = std::map<std::string, std::string>;
constexpr const char* languages[] = {"de", "en", "es", "fr", "ja"};

Texts tableOf(const std::string& language) {
  const TomlFile file =
      TomlFile::read(QUILLO_SOURCE_DIR "/resources/strings/windows/" + language + ".toml");
  EXPECT_EQ(file.problem, "");
  Texts texts;
  for (const auto& [key, value] : file.values) {
    const auto* text = std::get_if<std::string>(&value.value);
    texts[key] = text ? *text : "";
  }
  return texts;
}

// The texts of an interface file with their keys; under "" those that have none.
Texts textsOf(const QString& path) {
  QFile file(path);
  EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
  QXmlStreamReader reader(&file);
  Texts texts;
  while (!reader.atEnd()) {
    if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == u"string" &&
        reader.attributes().value("notr") != u"true") {
      const std::string key = reader.attributes().value("comment").toString().toStdString();
      texts[key] = reader.readElementText().toStdString();
    }
  }
  EXPECT_FALSE(reader.hasError()) << path.toStdString();
  return texts;
}

Texts textsOfAllInterfaceFiles() {
  const QDir folder(QUILLO_SOURCE_DIR "/resources/interface");
  Texts all;
  for (const QString& name : folder.entryList({"*.ui"})) {
    all.merge(textsOf(folder.filePath(name)));
  }
  return all;
}

char accessKeyOf(const std::string& text) {
  const std::size_t mark = text.find('&');
  return mark == std::string::npos ? '\0' : static_cast<char>(std::tolower(text.at(mark + 1)));
}

TEST(WindowStrings, HaveTheSameKeysInEveryLanguage) {
  const Texts english = tableOf("en");
  for (const char* language : languages) {
    const Texts other = tableOf(language);
    for (const auto& [key, text] : english) {
      EXPECT_TRUE(other.count(key) == 1 && !other.at(key).empty()) << language << " " << key;
    }
    EXPECT_EQ(other.size(), english.size()) << language;
  }
}

TEST(WindowStrings, OfTheInterfaceFilesAreAllInTheTables) {
  const Texts english = tableOf("en");
  const Texts used = textsOfAllInterfaceFiles();
  EXPECT_GT(used.size(), 20U);
  for (const auto& [key, text] : used) {
    EXPECT_FALSE(key.empty()) << "no key: " << text;
    EXPECT_TRUE(english.count(key) == 1 && english.at(key) == text) << key;
  }
}

TEST(WindowStrings, GiveEveryItemAndButtonAnAccessKeyOfItsOwn) {
  const std::vector<std::vector<std::string>> windows = {
      {"MENU_START", "MENU_STOP", "MENU_RESTART", "MENU_FOLDERS", "MENU_ABORT", "MENU_UPDATE",
       "MENU_SCAN_LOG", "MENU_CONSOLE_LOG", "MENU_UPDATE_LOG", "MENU_QUIT"},
      {"WARNING_SHOW", "WARNING_IGNORE", "WARNING_TRASH"},
      {"QUARANTINE_SHOW", "BUTTON_OK"},
      {"ENGINE_OPEN_PREFS", "ENGINE_OPEN_VANTREL", "BUTTON_CLOSE"},
      {"DOCK_MENU", "DOCK_FOLDERS", "DOCK_VERDICTS"}};
  for (const char* language : languages) {
    const Texts texts = tableOf(language);
    for (const auto& window : windows) {
      std::set<char> keys;
      for (const std::string& key : window) {
        const char accessKey = accessKeyOf(texts.at(key));
        EXPECT_NE(accessKey, '\0') << language << " " << key;
        EXPECT_TRUE(keys.insert(accessKey).second) << language << " " << key;
      }
    }
  }
}

}  // namespace
}  // namespace quillo
