#pragma once

#include <memory>

#include "platform/Application.h"
#include "platform/Dialog.h"
#include "platform/LocalizedStrings.h"
#include "platform/MainInterface.h"
#include "platform/linux/tray/QtMenu.h"

namespace quillo {

// The agent's menu with its fixed items, and the dialogs that exist once. Lives as long as the
// application.
class QtMainInterface final {
 public:
  // Throws PlatformException when one of the dialogs cannot be loaded. Main thread.
  QtMainInterface(Application& application, LocalizedStrings& strings, InterfaceLoader& loader);

  MainInterface& interface() { return interface_; }

 private:
  Application& application_;
  QtMenu theMenu_;
  QtMenu theSubMenu_;
  QtMenu abortMenu_;
  std::shared_ptr<ButtonDialog> updateWindow_;
  std::shared_ptr<ButtonDialog> noEngineWindow_;
  std::shared_ptr<ButtonDialog> noEngineAloneWindow_;
  MainInterface interface_;
};

}  // namespace quillo
