#pragma once

#include <QMenu>
#include <memory>
#include <string>
#include <vector>

#include "platform/Application.h"
#include "platform/Menu.h"
#include "platform/linux/tray/QtMenuItem.h"

namespace quillo {

// A menu for the status item, or a submenu of it. Built on the main thread; it must outlive what it
// posts, so it lives as long as the application.
class QtMenu final : public Menu {
 public:
  explicit QtMenu(Application& application) : application_(application) {}

  void setAutoenablesItems(bool autoenables) override;
  void insertItem(std::size_t index, const std::string& title,
                  std::function<void()> action) override;
  // The item itself stays, for those who know it.
  void removeItem(MenuItem& item) override;
  void removeAllItems() override;

  // Building. Main thread.
  QtMenuItem& addItem(const std::string& markedTitle);
  QtMenuItem& addSubmenu(const std::string& markedTitle, QtMenu& submenu);
  void addSeparator() { menu_.addSeparator(); }

  // For the status item. Main thread.
  QMenu& menu() { return menu_; }
  void setHost(MenuHost host);

 private:
  std::unique_ptr<QtMenuItem> makeItem(MenuTitle title, std::function<void()> action);
  void insertNow(std::size_t index, const std::string& title, std::function<void()> action);
  void tidySeparators();

  // Constant after construction.
  Application& application_;
  // Main thread only.
  QMenu menu_;
  std::vector<std::unique_ptr<QtMenuItem>> items_;
  std::vector<std::unique_ptr<QtMenuItem>> insertedItems_;
  MenuHost host_ = MenuHost::qt;
  bool autoenables_ = true;
};

}  // namespace quillo
