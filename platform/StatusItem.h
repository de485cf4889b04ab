#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Image.h"

namespace quillo {

class Menu;

// The icon in the desktop's panel. Any thread; changes are shown soon, in the order in which they
// were made.
class StatusItem {
 public:
  virtual ~StatusItem() = default;
  virtual void setImage(const ImageRef& image) = 0;
  // Sets what is shown instead while the menu is open.
  virtual void setAlternateImage(const ImageRef& image) = 0;
  virtual void setHighlightMode(bool highlights) = 0;
  virtual void setMenu(Menu& menu) = 0;
  virtual void setEnabled(bool enabled) = 0;
  // Sets what the picture means in words: plain text, shown when the pointer rests on the item and
  // read out by screen readers.
  virtual void setToolTip(const std::string& text) = 0;
};

class StatusBar {
 public:
  static constexpr double squareLength = -2;

  virtual ~StatusBar() = default;
  // Returns a new item, which lives as long as the bar. One of length 0 takes no room and is not
  // seen. Main thread.
  virtual StatusItem& statusItemWithLength(double length) = 0;
  // How the desktop shows status items: it does; not yet, a moment after the start, in which most
  // have begun to; not at all, when the first seconds have passed without.
  enum class Room { shown, notYet, none };
  // Has `observer` called on the main thread with that of this desktop and its name; with `shown`
  // each time that it begins to show them. Never called without a screen. Main thread, once.
  using RoomObserver = std::function<void(Room room, const std::string& desktop)>;
  virtual void observeRoom(RoomObserver observer) = 0;
};

}  // namespace quillo
