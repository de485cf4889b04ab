#pragma once

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
};

class StatusBar {
 public:
  static constexpr double squareLength = -2;

  virtual ~StatusBar() = default;
  // A new item; of length 0 it takes no room and is not seen. Main thread. The item lives as long
  // as the bar.
  virtual StatusItem& statusItemWithLength(double length) = 0;
};

}  // namespace quillo
