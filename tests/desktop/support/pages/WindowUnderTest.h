#pragma once

#include <QCoreApplication>
#include <QKeyEvent>
#include <QWidget>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/pages/QtMainWindow.h"
#include "platform/linux/text/StringTables.h"
#include "platform/linux/tray/QtImage.h"

namespace quillo {

class KeptLog final : public SystemLog {
 public:
  void log(std::string_view message) override { lines.emplace_back(message); }
  std::vector<std::string> lines;
};

// The window with the pages of the tests' own, and its user's hand.
struct WindowUnderTest {
  explicit WindowUnderTest(const std::string& sizeFile = "")
      : window(QUILLO_SOURCE_DIR "/tests/desktop/support/pages", sizeFile, {images, strings, log}) {
  }

  template <typename Kind>
  Kind* find(const char* name) {
    return window.widget().findChild<Kind*>(name);
  }
  static void press(QWidget* widget, int key, Qt::KeyboardModifiers modifiers = {},
                    const QString& text = {}) {
    QKeyEvent down(QEvent::KeyPress, key, modifiers, text);
    QCoreApplication::sendEvent(widget, &down);
    QKeyEvent up(QEvent::KeyRelease, key, modifiers, text);
    QCoreApplication::sendEvent(widget, &up);
  }
  static void type(QWidget* widget, const QString& text) {
    for (const QChar letter : text) {
      press(widget, letter.toUpper().unicode(), {}, letter);
    }
  }

  KeptLog log;
  StringTables strings{
      StringTables::foldersOfCompanion(QUILLO_SOURCE_DIR "/resources/strings"), {"en"}, nullptr};
  InterfaceTranslator translator{strings};
  QtImageLoader images{QUILLO_BINARY_DIR "/resources/images"};
  QtMainWindow window;
};

// The window with the program's pages, in one language, before any logic runs.
struct ProgramsWindow {
  explicit ProgramsWindow(const std::string& language = "en")
      : strings(StringTables::foldersOfCompanion(QUILLO_SOURCE_DIR "/resources/strings"),
                {language}, nullptr) {}

  template <typename Kind>
  Kind* find(const char* name) {
    return window.widget().findChild<Kind*>(name);
  }

  KeptLog log;
  StringTables strings;
  InterfaceTranslator translator{strings};
  QtImageLoader images{QUILLO_BINARY_DIR "/resources/images"};
  QtMainWindow window{QUILLO_SOURCE_DIR "/resources/interface/vantrel", "", {images, strings, log}};
};

}  // namespace quillo
