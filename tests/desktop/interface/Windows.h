#pragma once

// What the windows of this process show, by the names of their widgets. Main thread.

#include <unistd.h>

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>
#include <QWindow>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace quillo {

// Returns the middle of the widget, in pixels of the screen: "at X Y", or "nowhere".
std::string where(const std::string& objectName);
// Returns true when the widget's window takes clicks on its buttons.
bool answersClicks(const std::string& objectName);
// Returns true when the widget's window can be made larger or smaller.
bool isResizable(const std::string& objectName);
std::string textOf(const std::string& objectName);
// Returns the rows of a list, with ";" between them and "," between their columns.
std::string rowsOf(const std::string& objectName);
// Their tool tips, in the same form.
std::string toolTipsOf(const std::string& objectName);
// Returns the items of the menu that is open for a widget, with ";" between them; "" for no menu.
std::string itemsOfPopup();
// Where the window of the widget is with its frame, in pixels of the screen: "X Y WIDTH HEIGHT".
std::string areaOf(const std::string& objectName);
// The name of the widget that the keys go to.
std::string focused();
// The name of the widget that gets the keys in the window of that widget, once it has them.
std::string focusedBeside(const std::string& objectName);
// Return true when the first or the last line of a field of text is to be seen.
bool showsItsStart(const std::string& objectName);
bool showsItsEnd(const std::string& objectName);
// Returns how many dialogs with a message are on the screen.
std::ptrdiff_t shownDialogs();
// Returns true when the window manager has put a frame around the widget's window, which moves it.
bool isFramed(const std::string& objectName);
// Returns in how many windows a widget of that name is to be seen.
std::ptrdiff_t visibleCount(const std::string& objectName);
// Returns what a screen reader says of the widget: "NAME|DESCRIPTION|CONTENTS", the contents of a
// field that it reads by itself.
std::string spoken(const std::string& objectName);

// Commands come in there, and events go out.
inline constexpr int commandDescriptor = 3;

inline void say(const std::string& event) {
  const std::string line = event + "\n";
  [[maybe_unused]] const ssize_t written = write(commandDescriptor, line.data(), line.size());
}

// Reports when the window is minimised.
class MinimisingObserver final : public QObject {
 public:
  explicit MinimisingObserver(QWidget* window) : QObject(window) {
    window->installEventFilter(this);
  }
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::WindowStateChange &&
        static_cast<QWidget*>(watched)->isMinimized()) {
      say("minimised");
    }
    return false;
  }
};

inline bool allWindowsAreOnTheScreen() {
  for (const QWindow* window : QGuiApplication::allWindows()) {
    if (window->isTopLevel() && window->isVisible() && !window->isExposed()) {
      return false;
    }
  }
  return true;
}

// Reports where a widget is as soon as the server shows every window that Qt has made and the
// widget answers a click, and which window gets the keyboard.
class WindowObserver final : public QObject {
 public:
  explicit WindowObserver(std::function<std::string(const std::string&)> where)
      : where_(std::move(where)) {
    qApp->installEventFilter(this);
    connect(qApp, &QGuiApplication::focusWindowChanged, this, [](QWindow* window) {
      if (window) {
        say("focus " + window->title().toStdString());
      }
    });
  }

  void reportWhere(const std::string& objectName) {
    asked_ = objectName;
    answer();
  }

  bool eventFilter(QObject*, QEvent* event) override {
    const bool mayShow = event->type() == QEvent::Expose || event->type() == QEvent::EnabledChange;
    if (mayShow && !asked_.empty()) {
      QTimer::singleShot(0, this, [this] { answer(); });
    }
    return false;
  }

 private:
  void answer() {
    if (!asked_.empty() && allWindowsAreOnTheScreen() && answersClicks(asked_)) {
      say(where_(std::exchange(asked_, "")));
    }
  }

  std::function<std::string(const std::string&)> where_;
  std::string asked_;
};

}  // namespace quillo
