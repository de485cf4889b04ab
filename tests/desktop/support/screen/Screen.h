#pragma once

#include <xcb/xcb.h>

#include <QImage>
#include <QRect>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quillo {

// The bell of an X display (X Keyboard Extension, BellNotify): what a program's beep comes to.
class Bells {
 public:
  // From now on the connection's events report it.
  explicit Bells(xcb_connection_t* connection);
  bool isBell(const xcb_generic_event_t& event) const;

 private:
  std::uint8_t eventCode_ = 0;
};

// What is to be seen on an X display, as another client of it sees it.
class Screen {
 public:
  explicit Screen(const std::string& display);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // Returns true once the predicate holds: asks at first, and again whenever something was drawn or
  // a window came or went, and some times a second, for at most twenty seconds.
  bool eventually(const std::function<bool()>& predicate);

  QImage picture();
  // Where pixels of exactly that colour are within the area; empty when there is none.
  std::optional<QRect> find(QRgb colour, const QRect& area);
  // Titles of the windows that the window manager shows; empty before there is one.
  std::vector<std::string> windowTitles();
  // Returns windowTitles(), the topmost last.
  std::vector<std::string> stackedTitles();
  std::size_t countWindows(const std::string& title);
  // Waits until a window manager does what it is asked to; false when none does.
  bool awaitWindowManager();
  // Which application's the topmost window of that title is (WM_CLASS): "INSTANCE CLASS".
  std::string classOf(const std::string& title);
  // Where the windows of that title are without their frames, the topmost last.
  std::vector<QRect> windowAreas(const std::string& title);
  // That of the window with the keyboard; empty when there is none.
  QRect activeWindowArea();
  // Returns true when the window with the keyboard is of that title.
  bool hasKeyboard(const std::string& title);
  // Where menus are open, in no particular order.
  std::vector<QRect> menuAreas();
  // How often a program has beeped by now, as eventually() has seen it.
  int beeps() const { return beeps_; }

 private:
  xcb_atom_t atom(const char* name);
  std::vector<std::uint8_t> property(xcb_window_t window, const char* name);
  std::vector<xcb_window_t> windowsIn(const char* name);
  std::uint32_t numberOn(xcb_window_t window, const char* name);
  bool hasProperty(const char* name);
  void wish(const char* message, std::uint32_t value);
  std::string titleOf(xcb_window_t window);
  QRect areaOf(xcb_window_t window);
  bool isMenu(xcb_window_t window);
  void awaitEvent(std::chrono::milliseconds limit);

  xcb_connection_t* connection_;
  xcb_window_t root_;
  QSize size_;
  std::optional<Bells> bells_;
  int beeps_ = 0;
};

}  // namespace quillo
