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
  // Shown instead while the menu is open.
  virtual void setAlternateImage(const ImageRef& image) = 0;
  virtual void setHighlightMode(bool highlights) = 0;
  virtual void setMenu(Menu& menu) = 0;
  virtual void setEnabled(bool enabled) = 0;
  // What the picture says, in words: plain text, shown when the pointer rests on the item and read
  // out by screen readers.
  virtual void setToolTip(const std::string& text) = 0;
};

class StatusBar {
 public:
  static constexpr double squareLength = -2;

  virtual ~StatusBar() = default;
  // A new item; of length 0 it takes no room and is not seen. Main thread. The item lives as long
  // as the bar.
  virtual StatusItem& statusItemWithLength(double length) = 0;
  // Whether a desktop shows status items: not yet, a moment after the start, in which most would
  // have begun to; or not at all, as far as the first seconds tell.
  enum class Room { shown, notYet, none };
  // Tells that of this desktop, which has that name: `shown` each time that it begins to. Where
  // there is no screen nothing is told. Calls on the main thread, from where this is called too,
  // once.
  using RoomObserver = std::function<void(Room room, const std::string& desktop)>;
  virtual void observeRoom(RoomObserver observer) = 0;
};

}  // namespace quillo
