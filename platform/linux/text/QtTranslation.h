#pragma once

#include <QTranslator>
#include <string>

#include "platform/LocalizedStrings.h"

namespace quillo {

// What Qt's own widgets say ("Copy" in the menu of a text), out of Qt's file for that language
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

// Gives Qt the texts of the string tables: in an interface file the comment of a text is its key,
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
