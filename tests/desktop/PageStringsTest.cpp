#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QXmlStreamReader>
#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/preferences/TomlFile.h"

namespace quillo {
namespace {

using Texts = std::map<std::string, std::string>;
using Words = std::vector<std::string>;

constexpr const char* languages[] = {"de", "en", "es", "fr", "ja"};
constexpr const char* stringsFolder = QUILLO_SOURCE_DIR "/resources/strings";
constexpr const char* interfaceFolder = QUILLO_SOURCE_DIR "/resources/interface/vantrel";

Texts tableAt(const std::string& path) {
  const TomlFile file = TomlFile::read(path);
  EXPECT_EQ(file.problem, "");
  Texts texts;
  for (const auto& [key, value] : file.values) {
    const auto* text = std::get_if<std::string>(&value.value);
    texts[key] = text ? *text : "";
  }
  return texts;
}

std::vector<std::string> pages() {
  std::vector<std::string> names;
  const QDir folder(QString(stringsFolder) + "/vantrel");
  for (const QString& name : folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
    names.push_back(name.toStdString());
  }
  EXPECT_FALSE(names.empty());
  return names;
}

Texts tableOf(const std::string& page, const std::string& language) {
  return tableAt(std::string(stringsFolder) + "/vantrel/" + page + "/" + language + ".toml");
}

std::size_t count(const std::string& text, const std::string& what) {
  std::size_t times = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
    ++times;
  }
  return times;
}

// A text of an interface file: the property that it is, its key, its English, and, where it lies in
// one of several boxes of which one is seen at a time ("step…", "…Tab"), the name of that box.
struct FileText {
  std::string property;
  std::string key;
  std::string text;
  std::string box;

  bool isSeenWith(const FileText& other) const {
    return box.empty() || other.box.empty() || box == other.box;
  }
};

// The widgets around the place in the file.
class WidgetStack {
 public:
  void follow(const QXmlStreamReader& reader) {
    if (reader.isStartElement() && reader.name() == u"widget") {
      names_.push_back(reader.attributes().value("name").toString().toStdString());
    } else if (reader.isEndElement() && reader.name() == u"widget") {
      names_.pop_back();
    }
  }
  std::string box() const {
    for (const std::string& name : names_) {
      if (name.starts_with("step") || name.ends_with("Tab")) {
        return name;
      }
    }
    return "";
  }

 private:
  std::vector<std::string> names_;
};

std::vector<FileText> textsOf(const QString& path) {
  QFile file(path);
  EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
  QXmlStreamReader reader(&file);
  std::vector<FileText> texts;
  std::string property;
  WidgetStack widgets;
  while (!reader.atEnd()) {
    reader.readNext();
    widgets.follow(reader);
    if (!reader.isStartElement()) {
      continue;
    }
    if (reader.name() == u"property") {
      property = reader.attributes().value("name").toString().toStdString();
    } else if (reader.name() == u"string" && reader.attributes().value("notr") != u"true") {
      const std::string key = reader.attributes().value("comment").toString().toStdString();
      texts.push_back({property, key, reader.readElementText().toStdString(), widgets.box()});
    }
  }
  EXPECT_FALSE(reader.hasError()) << path.toStdString();
  return texts;
}

std::string accessKeyOf(const std::string& text) {
  const QString shown = QString::fromStdString(text);
  for (qsizetype at = shown.indexOf('&'); at >= 0 && at + 1 < shown.size();
       at = shown.indexOf('&', at + 2)) {
    if (shown.at(at + 1) != '&') {
      return QString(shown.at(at + 1).toLower()).toStdString();
    }
  }
  return "";
}

// A table that does not parse leaves its page without words.
TEST(PageStrings, CanBeReadInEveryLanguage) {
  for (const std::string& page : pages()) {
    for (const char* language : languages) {
      EXPECT_FALSE(tableOf(page, language).empty()) << page << " " << language;
    }
  }
}

TEST(PageStrings, AreThereInEveryLanguage) {
  for (const std::string& page : pages()) {
    const Texts english = tableOf(page, "en");
    for (const char* language : languages) {
      const Texts other = tableOf(page, language);
      for (const auto& [key, text] : english) {
        EXPECT_TRUE(other.count(key) == 1 && !other.at(key).empty())
            << page << " " << language << " " << key;
      }
      EXPECT_EQ(other.size(), english.size()) << page << " " << language;
    }
  }
}

TEST(PageStrings, AreFilledInWithAsMuchInEveryLanguage) {
  for (const std::string& page : pages()) {
    const Texts english = tableOf(page, "en");
    for (const char* language : languages) {
      for (const auto& [key, text] : tableOf(page, language)) {
        const auto found = english.find(key);
        EXPECT_EQ(count(text, "%@"), found == english.end() ? 0 : count(found->second, "%@"))
            << page << " " << language << " " << key;
      }
    }
  }
}

TEST(PageStrings, HaveAnAccessKeyWhereTheEnglishOneHas) {
  for (const std::string& page : pages()) {
    const Texts english = tableOf(page, "en");
    for (const char* language : languages) {
      for (const auto& [key, text] : tableOf(page, language)) {
        const auto found = english.find(key);
        EXPECT_EQ(accessKeyOf(text).empty(),
                  found == english.end() || accessKeyOf(found->second).empty())
            << page << " " << language << " " << key;
      }
    }
  }
}

TEST(PageStrings, BeginWithTheNameOfTheirPage) {
  for (const std::string& page : pages()) {
    const std::string beginning = QString::fromStdString(page).toUpper().toStdString() + "_";
    for (const auto& [key, text] : tableOf(page, "en")) {
      EXPECT_TRUE(key.starts_with(beginning)) << page << " " << key;
    }
  }
}

TEST(PageStrings, OfTheInterfaceFilesAreInTheTables) {
  Texts english;
  for (const std::string& page : pages()) {
    english.merge(tableOf(page, "en"));
  }
  const QDir folder(interfaceFolder);
  for (const QString& name : folder.entryList({"*.ui"})) {
    for (const FileText& each : textsOf(folder.filePath(name))) {
      EXPECT_FALSE(each.key.empty()) << name.toStdString() << ": no key: " << each.text;
      EXPECT_TRUE(english.count(each.key) == 1 && english.at(each.key) == each.text)
          << name.toStdString() << " " << each.key;
    }
  }
}

// Returns the pairs of texts that are seen together and have the same access key.
std::vector<std::string> clashesIn(const std::vector<FileText>& file, Texts& texts) {
  std::vector<std::string> clashes;
  for (std::size_t at = 0; at < file.size(); ++at) {
    const std::string accessKey = accessKeyOf(texts[file[at].key]);
    for (std::size_t before = 0; before < at && !accessKey.empty(); ++before) {
      const bool isOther = file[before].key != file[at].key;
      if (isOther && file[at].property == "text" && file[before].property == "text" &&
          file[at].isSeenWith(file[before]) && accessKeyOf(texts[file[before].key]) == accessKey) {
        clashes.push_back(file[before].key + " and " + file[at].key);
      }
    }
  }
  return clashes;
}

TEST(PageStrings, GiveEveryWidgetThatIsSeenAnAccessKeyOfItsOwn) {
  const QDir folder(interfaceFolder);
  for (const char* language : languages) {
    Texts texts;
    for (const std::string& page : pages()) {
      texts.merge(tableOf(page, language));
    }
    for (const QString& name : folder.entryList({"*.ui"})) {
      for (const std::string& clash : clashesIn(textsOf(folder.filePath(name)), texts)) {
        ADD_FAILURE() << name.toStdString() << " " << language << ": " << clash;
      }
    }
  }
}

// What the program itself makes a button say: the page, the text that the button has in the file,
// if any, and the others.
struct OtherTexts {
  const char* page;
  const char* key;
  std::vector<std::string> others;
};

const OtherTexts otherTexts[] = {
    {"overview",
     "",
     {"OVERVIEW_MEND_CHOOSE_FOLDERS", "OVERVIEW_MEND_RESTART_AGENT", "OVERVIEW_MEND_SET_UP",
      "OVERVIEW_MEND_SET_UP_ENGINE", "OVERVIEW_MEND_SHOW_FOLDERS", "OVERVIEW_MEND_START_AGENT",
      "OVERVIEW_MEND_START_WATCHING", "OVERVIEW_MEND_UPDATE"}},
    {"scan", "SCAN_PAUSE", {"SCAN_RESUME"}},
    {"start", "START_NEXT", {"START_FINISH", "START_GUARD"}}};

TEST(PageStrings, GiveAButtonAnAccessKeyOfItsOwnWhateverItSays) {
  for (const char* language : languages) {
    for (const OtherTexts& button : otherTexts) {
      Texts texts = tableOf(button.page, language);
      auto file = textsOf(QString("%1/%2.ui").arg(interfaceFolder, button.page));
      auto itself = std::find_if(file.begin(), file.end(), [&](const FileText& text) {
        return text.key == button.key && text.property == "text";
      });
      ASSERT_EQ(itself == file.end(), button.key[0] == '\0') << button.key;
      itself = itself == file.end() ? file.insert(itself, {"text", "", "", ""}) : itself;
      for (const std::string& other : button.others) {
        itself->key = other;
        for (const std::string& clash : clashesIn(file, texts)) {
          ADD_FAILURE() << button.page << " " << language << ": " << clash;
        }
      }
    }
  }
}

// The pages that ask, and the two answers of each question.
const std::pair<const char*, Words> questions[] = {
    {"overview", {"OVERVIEW_CLOSE_STAY", "OVERVIEW_CLOSE_STOP"}},
    {"planned", {"PLANNED_REMOVE_NO", "PLANNED_REMOVE_YES"}},
    {"quarantine", {"QUARANTINE_CANCEL", "QUARANTINE_ALLOW_ALL_THE_SAME"}},
    {"quarantine", {"QUARANTINE_CANCEL", "QUARANTINE_DELETE_CONTINUE"}},
    {"quarantine", {"QUARANTINE_CANCEL", "QUARANTINE_DELETE_FOR_GOOD"}},
    {"quarantine", {"QUARANTINE_CANCEL", "QUARANTINE_MAKE_FOLDER"}},
    {"quarantine", {"QUARANTINE_CANCEL", "QUARANTINE_RESTORE_ALL_THE_SAME"}},
    {"results", {"RESULTS_ALLOW_NO", "RESULTS_ALLOW_YES"}},
    {"results", {"RESULTS_ALLOW_NO", "RESULTS_CHANGED_YES"}},
    {"results", {"RESULTS_EXCLUDE_NO", "RESULTS_EXCLUDE_YES"}},
    {"scan", {"SCAN_ALLOW_NO", "SCAN_ALLOW_YES"}},
    {"scan", {"SCAN_CLOSE_STAY", "SCAN_CLOSE_STOP"}},
    {"window", {"WINDOW_BUTTON_CANCEL", "WINDOW_BUTTON_EXCLUDE"}}};

TEST(PageStrings, GiveEveryAnswerAnAccessKeyOfItsOwn) {
  for (const char* language : languages) {
    for (const auto& [page, answers] : questions) {
      const Texts texts = tableOf(page, language);
      EXPECT_NE(accessKeyOf(texts.at(answers[0])), accessKeyOf(texts.at(answers[1])))
          << language << " " << answers[0];
    }
  }
}

// Each text with an access key is in a file or in one of the lists above.
TEST(PageStrings, WithAnAccessKeyAreAllKnownHere) {
  const QDir folder(interfaceFolder);
  std::set<std::string> known = {"WINDOW_BUTTON_CLOSE"};
  for (const QString& name : folder.entryList({"*.ui"})) {
    for (const FileText& text : textsOf(folder.filePath(name))) {
      known.insert(text.key);
    }
  }
  for (const OtherTexts& button : otherTexts) {
    known.insert(button.others.begin(), button.others.end());
  }
  for (const auto& [page, answers] : questions) {
    known.insert(answers.begin(), answers.end());
  }
  for (const std::string& page : pages()) {
    for (const auto& [key, text] : tableOf(page, "en")) {
      EXPECT_TRUE(accessKeyOf(text).empty() || known.count(key) == 1) << page << " " << key;
    }
  }
}

// A line must not break at the blank that stands there; an apostrophe is one everywhere.
TEST(PageStrings, InFrenchKeepPunctuationWithItsWord) {
  for (const std::string& page : pages()) {
    for (const auto& [key, text] : tableOf(page, "fr")) {
      const QString shown = QString::fromStdString(text);
      EXPECT_FALSE(shown.contains(u'\'')) << page << " " << key;
      for (qsizetype at = 0; at < shown.size(); ++at) {
        const QChar before = at > 0 ? shown.at(at - 1) : QChar();
        const QChar after = at + 1 < shown.size() ? shown.at(at + 1) : QChar(' ');
        const bool isTight =
            QString(";!?»").contains(shown.at(at)) || (shown.at(at) == u':' && after.isSpace());
        EXPECT_TRUE(!isTight || before == QChar::Nbsp) << page << " " << key;
        EXPECT_TRUE(shown.at(at) != u'«' || after == QChar::Nbsp) << page << " " << key;
      }
    }
  }
}

}  // namespace
}  // namespace quillo
