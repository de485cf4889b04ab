#include "platform/linux/dialogs/QtDialog.h"

#include <utility>

namespace quillo {

QtDialog::QtDialog(Application& application, DialogServices& services, InterfaceFile file)
    : application_(application),
      window_(std::make_shared<DialogWindow>(std::move(file), services)) {}

// The window may only be destroyed on the main thread, so the last reference goes there.
QtDialog::~QtDialog() {
  application_.performOnMainThread([window = std::move(window_)]() mutable { window.reset(); });
}

template <typename Change>
void QtDialog::post(Change change) {
  application_.performOnMainThread(
      [window = window_, change = std::move(change)] { change(*window); });
}

void QtDialog::orderFrontRegardless() {
  post([](DialogWindow& window) { window.orderFront(DialogWindow::Level::inPile); });
}

void QtDialog::makeFloatingKeyAndOrderFront() {
  post([](DialogWindow& window) { window.orderFront(DialogWindow::Level::floatingKey); });
}

void QtDialog::orderOut() {
  post([](DialogWindow& window) { window.orderOut(); });
}

void QtDialog::close() {
  post([](DialogWindow& window) { window.close(); });
}

void QtDialog::setMessage(const std::string& message) {
  {
    MutexLock lock(mutex_);
    message_ = message;
  }
  post([message](DialogWindow& window) { window.setMessage(message); });
}

std::string QtDialog::message() const {
  MutexLock lock(mutex_);
  return message_;
}

void QtDialog::setDeleteButtonTitle(const std::string& title) {
  post([title](DialogWindow& window) { window.setDeleteButtonTitle(title); });
}

void QtDialog::setAction(Action action) {
  post([action = std::move(action)](DialogWindow& window) { window.setAction(action); });
}

void QtDialog::setKind(Kind kind) {
  post([kind](DialogWindow& window) { window.setKind(kind); });
}

void QtDialog::setSubject(const std::string& text) {
  post([text](DialogWindow& window) { window.setSubject(text); });
}

void QtDialog::setFind(const std::string& path, const std::string& threat) {
  post([path, threat](DialogWindow& window) { window.setFind(path, threat); });
}

void QtDialog::setSuspicious(bool suspicious) {
  post([suspicious](DialogWindow& window) { window.setSuspicious(suspicious); });
}

void QtDialog::showFailure(const std::string& text) {
  post([text](DialogWindow& window) { window.showFailure(text); });
}

}  // namespace quillo
