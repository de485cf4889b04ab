#pragma once

#include <unistd.h>

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>
#include <QWindow>
#include <functional>
#include <string>
#include <utility>

#include "tests/desktop/interface/Windows.h"

namespace quillo {

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

  void tellWhere(const std::string& objectName) {
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
