#pragma once

#include <memory>
#include <string>

#include "platform/Application.h"
#include "platform/Dialog.h"
#include "platform/linux/dialogs/DialogWindow.h"
#include "posix/Mutex.h"

namespace quillo {

// Speaks for a window on the main thread: every operation is posted there. A window that is on the
// screen when its dialog is destroyed stays until the user closes it.
class QtDialog final : public ButtonDialog {
 public:
  QtDialog(Application& application, DialogServices& services, InterfaceFile file);
  ~QtDialog() override;
  QtDialog(const QtDialog&) = delete;
  QtDialog& operator=(const QtDialog&) = delete;

  void orderFrontRegardless() override;
  void makeFloatingKeyAndOrderFront() override;
  void orderOut() override;
  void close() override;
  void setMessage(const std::string& message) override;
  std::string message() const override;
  void setDeleteButtonTitle(const std::string& title) override;
  void setAction(Action action) override;
  void setKind(Kind kind) override;
  void setSubject(const std::string& text) override;
  void setFind(const std::string& path, const std::string& threat) override;
  void setSuspicious(bool suspicious) override;
  void showFailure(const std::string& text) override;

 private:
  template <typename Change>
  void post(Change change);

  // Constant after construction.
  Application& application_;
  std::shared_ptr<DialogWindow> window_;

  mutable Mutex mutex_;
  std::string message_ QUILLO_GUARDED_BY(mutex_);
};

}  // namespace quillo
