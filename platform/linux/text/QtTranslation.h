#pragma once

#include <QTranslator>
#include <string>

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

}  // namespace quillo
