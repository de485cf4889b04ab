#pragma once

#include <QTranslator>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/LocalizedStrings.h"
#include "platform/linux/services/Environment.h"

namespace quillo {

// Texts out of one flat TOML table a language, `<folder>/<language>.toml`. Read once; constant
// after construction.
class StringTables final : public LocalizedStrings {
 public:
  // Reads the tables of `languages`, the first of them first, then English. A language without a
  // table is passed over; a table that cannot be read is reported.
  StringTables(const std::vector<std::string>& folders, const std::vector<std::string>& languages,
               const std::function<void(const std::string& problem)>& report);
  // Returns the folders with the texts of the main application below `strings`: `vantrel/<page>`
  // each, and the agent's own, whose words it uses as well.
  static std::vector<std::string> foldersOfCompanion(const std::string& strings);
  // Returns the languages that the user asks for, best first ("de_AT" is followed by "de"), by the
  // rules of gettext: LANGUAGE, unless the locale (LC_ALL, LC_MESSAGES, LANG) is that of the C
  // language.
  static std::vector<std::string> preferredLanguages(const Environment& environment);

  // Returns the language of the first table that there is; "en" without any.
  const std::string& language() const { return language_; }
  std::string stringForKey(const std::string& key, const std::string& fallback) override;

 private:
  std::vector<std::map<std::string, std::string>> tables_;
  std::string language_;
};

// The texts of Qt's own widgets ("Copy" in the menu of a text), out of Qt's file for that language
// where it is installed; else it is English. Installed while it lives. Main thread.
class QtTranslation final {
 public:
  // A language as gettext names it: "de", "fr_CA".
  explicit QtTranslation(const std::string& language);
  ~QtTranslation();
  QtTranslation(const QtTranslation&) = delete;
  QtTranslation& operator=(const QtTranslation&) = delete;

 private:
  QTranslator translator_;
};

// Hands Qt the texts of the string tables: in an interface file the comment of a text is its key,
// and the text itself is what stands in when no table has it. Installed while it lives. Main
// thread.
class InterfaceTranslator final : public QTranslator {
 public:
  explicit InterfaceTranslator(LocalizedStrings& strings);
  ~InterfaceTranslator() override;

  QString translate(const char* context, const char* sourceText, const char* disambiguation,
                    int n) const override;
  bool isEmpty() const override { return false; }

 private:
  LocalizedStrings& strings_;
};

}  // namespace quillo
