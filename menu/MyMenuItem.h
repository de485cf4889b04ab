#pragma once

#include <string>

#include "platform/MainInterface.h"

namespace quillo {

// A fixed item of the status menu. Its state is always set explicitly, never by the desktop.
class MyMenuItem {
 public:
  explicit MyMenuItem(MenuItem& item) : item_(item) {}

  // Always no: automatic enabling has no say.
  bool validateUserInterfaceItem() const { return false; }

  std::string title() const { return item_.title(); }
  void setTitle(const std::string& title) { item_.setTitle(title); }
  bool isEnabled() const { return item_.isEnabled(); }
  void setEnabled(bool enabled) { item_.setEnabled(enabled); }
  void setHidden(bool hidden) { item_.setHidden(hidden); }
  MenuItem& item() { return item_; }

 private:
  MenuItem& item_;
};

}  // namespace quillo
