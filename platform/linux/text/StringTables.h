#pragma once

#include <functional>
#include <map>
#include <vector>

#include "platform/LocalizedStrings.h"
#include "platform/linux/services/Environment.h"

namespace quillo {

// Texts out of one flat TOML table a language, `<folder>/<language>.toml`. Read once; constant
// after construction.
class StringTables final : public LocalizedStrings {
 public:
  // The tables of `languages`, the first of them first, then English. A language without a table is
  // passed over; a table that cannot be read is reported.
  StringTables(const std::vector<std::string>& folders, const std::vector<std::string>& languages,
               const std::function<void(const std::string& problem)>& report);
  // The languages that the user asks for, best first ("de_AT" is followed by "de"), by the rules of
  // gettext: LANGUAGE, unless the locale (LC_ALL, LC_MESSAGES, LANG) is that of the C language.
  static std::vector<std::string> preferredLanguages(const Environment& environment);

  // That of the first table that there is; "en" without any.
  const std::string& language() const { return language_; }
  std::string stringForKey(const std::string& key, const std::string& fallback) override;

 private:
  std::vector<std::map<std::string, std::string>> tables_;
  std::string language_;
};

}  // namespace quillo
