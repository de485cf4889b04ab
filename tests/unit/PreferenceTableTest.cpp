#include <gtest/gtest.h>

#include "posix/FileFacts.h"
#include "posix/Text.h"
#include "settings/PreferenceTable.h"

namespace quillo {
namespace {

std::string contentsOf(const std::string& document) {
  return contentsOfFile(QUILLO_SOURCE_DIR "/" + document).value_or("");
}

std::string readmeTable() {
  std::string table = "| Key | Type | When absent | What it does |\n|---|---|---|---|\n";
  for (const PreferenceInWords& key : everyPreference()) {
    table += "| `" + key.name + "` | " + key.type + " | " + key.whenAbsent + " | " + key.sentence +
             " |\n";
  }
  return table;
}

// As a man page (groff_man(7)) has a text of the README: code is bold.
std::string inRoff(const std::string& text) {
  std::string roff;
  bool isCode = false;
  for (const char c : replacingAll(text, "\"", "\\(dq")) {
    if (c == '`') {
      isCode = !isCode;
      roff += isCode ? "\\fB" : "\\fR";
    } else {
      roff += c;
    }
  }
  return roff;
}

// In lines of at most 80 bytes, as manual pages are written.
std::string wrapped(const std::string& text) {
  std::string lines;
  std::size_t width = 80;
  for (const std::string_view word : split(text, ' ')) {
    const bool fits = width + 1 + word.size() <= 80;
    lines += fits ? " " : "\n";
    lines += word;
    width = fits ? width + 1 + word.size() : word.size();
  }
  return lines.substr(1);
}

std::string manualKeys() {
  std::string keys = ".SH KEYS\n";
  for (const PreferenceInWords& key : everyPreference()) {
    const bool isOneWord = key.name.find(' ') == std::string::npos;
    keys += ".TP\n.BR " + (isOneWord ? key.name : "\"" + key.name + "\"") + " \" (" +
            replacingAll(key.type, "`", "") + "; when absent: " + key.whenAbsent + ")\"\n" +
            wrapped(inRoff(key.sentence) + ".") + "\n";
  }
  return keys + ".PP\n";
}

TEST(PreferenceTable, HoldsEveryKeyThatIsDeclaredInItsOrder) {
  const std::string declarations = contentsOf("settings/PreferenceTable.h");
  std::size_t at = 0;
  for (const PreferenceInWords& key : everyPreference()) {
    at = declarations.find("\"" + key.name + "\"", at);
    EXPECT_NE(at, std::string::npos) << key.name;
  }
  EXPECT_EQ(split(replacingAll(declarations, "constexpr Preference<", "\n"), '\n').size() -
                split(declarations, '\n').size(),
            everyPreference().size());
}

TEST(PreferenceTable, IsTheReadmesToTheByte) {
  EXPECT_NE(contentsOf("README.md").find("\n" + readmeTable() + "\n"), std::string::npos)
      << "README.md should hold\n"
      << readmeTable();
}

TEST(PreferenceTable, IsTheManualPagesToTheByte) {
  EXPECT_NE(contentsOf("docs/man/vantrel-quillo-preferences.5").find("\n" + manualKeys()),
            std::string::npos)
      << "the manual page should hold\n"
      << manualKeys();
}

}  // namespace
}  // namespace quillo
