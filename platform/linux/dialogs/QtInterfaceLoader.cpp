#include "platform/linux/dialogs/QtInterfaceLoader.h"

#include <utility>

#include "platform/linux/dialogs/DialogWindow.h"

namespace quillo {
namespace {

// Speaks for a window on the main thread: every operation is posted there. A window that is on the
// screen when its dialog is destroyed stays until the user closes it.
class QtDialog final : public ButtonDialog {
 public:
  QtDialog(Application& application, DialogServices& services, InterfaceFile file)
      : application_(application),
        window_(std::make_shared<DialogWindow>(std::move(file), services)) {}
  // The window may only be destroyed on the main thread, so the last reference goes there.
  ~QtDialog() override {
    application_.performOnMainThread([window = std::move(window_)]() mutable { window.reset(); });
  }
  QtDialog(const QtDialog&) = delete;
  QtDialog& operator=(const QtDialog&) = delete;

  void orderFrontRegardless() override {
    post([](DialogWindow& window) { window.orderFront(DialogWindow::Level::inPile); });
  }
  void makeFloatingKeyAndOrderFront() override {
    post([](DialogWindow& window) { window.orderFront(DialogWindow::Level::floatingKey); });
  }
  void orderOut() override {
    post([](DialogWindow& window) { window.orderOut(); });
  }
  void close() override {
    post([](DialogWindow& window) { window.close(); });
  }
  void setMessage(const std::string& message) override {
    {
      MutexLock lock(mutex_);
      message_ = message;
    }
    post([message](DialogWindow& window) { window.setMessage(message); });
  }
  std::string message() const override {
    MutexLock lock(mutex_);
    return message_;
  }
  void setDeleteButtonTitle(const std::string& title) override {
    post([title](DialogWindow& window) { window.setDeleteButtonTitle(title); });
  }
  void setAction(Action action) override {
    post([action = std::move(action)](DialogWindow& window) { window.setAction(action); });
  }
  void setKind(Kind kind) override {
    post([kind](DialogWindow& window) { window.setKind(kind); });
  }
  void setSubject(const std::string& text) override {
    post([text](DialogWindow& window) { window.setSubject(text); });
  }
  void setFind(const std::string& path, const std::string& threat) override {
    post([path, threat](DialogWindow& window) { window.setFind(path, threat); });
  }
  void setSuspicious(bool suspicious) override {
    post([suspicious](DialogWindow& window) { window.setSuspicious(suspicious); });
  }
  void showFailure(const std::string& text) override {
    post([text](DialogWindow& window) { window.showFailure(text); });
  }

 private:
  template <typename Change>
  void post(Change change) {
    application_.performOnMainThread(
        [window = window_, change = std::move(change)] { change(*window); });
  }

  // Constant after construction.
  Application& application_;
  std::shared_ptr<DialogWindow> window_;

  mutable Mutex mutex_;
  std::string message_ QUILLO_GUARDED_BY(mutex_);
};

}  // namespace

QtInterfaceLoader::QtInterfaceLoader(std::string folder, Application& application, SystemLog& log,
                                     ImageLoader& imageLoader, LocalizedStrings& localizedStrings,
                                     QtModifierKeys& modifierKeys)
    : folder_(std::move(folder)),
      application_(application),
      log_(log),
      translator_(localizedStrings),
      piles_(application),
      services_{imageLoader, localizedStrings, modifierKeys, piles_} {}

std::shared_ptr<ButtonDialog> QtInterfaceLoader::load(const std::string& name) {
  auto file = fileNamed(name);
  return file ? std::make_shared<QtDialog>(application_, services_, *std::move(file)) : nullptr;
}

std::optional<InterfaceFile> QtInterfaceLoader::fileNamed(const std::string& name) {
  MutexLock lock(mutex_);
  const auto known = files_.find(name);
  if (known != files_.end()) {
    return known->second;
  }
  std::string reason;
  auto file = InterfaceFile::read(folder_, name, reason);
  if (!file) {
    log_.log("Cannot load the interface file " + reason);
    return std::nullopt;
  }
  return files_.emplace(name, *std::move(file)).first->second;
}

}  // namespace quillo
