#pragma once

#include <QAction>
#include <functional>
#include <string>

#include "platform/Application.h"
#include "platform/Menu.h"
#include "platform/linux/tray/MenuTitle.h"
#include "posix/Mutex.h"

namespace quillo {

class QtMenu;

// One line of a menu, made once and changed in place. Its titles bear no access key marks; the one
// that it was made with is shown with its key whenever that title is set again.
class QtMenuItem final : public MenuItem {
 public:
  // Made and destroyed on the main thread. An item whose setters are used from outside its menu
  // must live as long as the application, since it posts to itself.
  QtMenuItem(Application& application, MenuTitle title, std::function<void()> action);
  ~QtMenuItem() override;

  std::string title() const override;
  void setTitle(const std::string& title) override;
  bool isEnabled() const override;
  void setEnabled(bool enabled) override;
  bool isHidden() const override;
  void setHidden(bool hidden) override;
  void setAction(std::function<void()> action) override;

  // The rest for the menu that holds it. Main thread.
  QAction& action() { return *action_; }
  void setSubmenu(QtMenu& submenu);
  QtMenu* submenu() const { return submenu_; }
  void setHost(MenuHost host);
  // With automatic enabling, an item that does nothing is shown disabled.
  void setAutoenabled(bool autoenabled);

 private:
  void post();
  void show();
  void perform();

  // Constant after construction.
  Application& application_;
  const MenuTitle ownTitle_;
  // Main thread only.
  QAction* action_;
  QtMenu* submenu_ = nullptr;
  MenuHost host_ = MenuHost::qt;
  bool autoenabled_ = true;

  mutable Mutex mutex_;
  std::string title_ QUILLO_GUARDED_BY(mutex_);
  bool isEnabled_ QUILLO_GUARDED_BY(mutex_) = true;
  bool isHidden_ QUILLO_GUARDED_BY(mutex_) = false;
  std::function<void()> perform_ QUILLO_GUARDED_BY(mutex_);
};

}  // namespace quillo
