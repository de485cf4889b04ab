#pragma once

#include <QAction>
#include <QMenu>
#include <QString>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Application.h"
#include "platform/MainInterface.h"
#include "posix/Mutex.h"

namespace quillo {

// Who draws a menu: Qt itself, or a panel that has it over D-Bus and takes "_" for the mark of an
// access key (com.canonical.dbusmenu, property "label").
enum class MenuHost { qt, panel };

// A menu item's title out of a text with an access key, "&Quit". The title proper has no mark in
// it; "&&" is an "&".
class MenuTitle {
 public:
  static MenuTitle withAccessKey(const std::string& markedText);
  static MenuTitle plain(const std::string& text);

  const std::string& text() const { return text_; }
  // Returns what QAction::setText() takes; a long title is cut in the middle.
  QString forHost(MenuHost host) const;

 private:
  std::string text_;
  // Offset in text_ of the access key's character; npos for none.
  std::size_t accessKey_ = std::string::npos;
};

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
  struct Look {
    std::string title;
    std::function<void()> perform;
    bool isEnabled = true;
    bool isHidden = false;
  };

  void change(const std::function<void(Look&)>& setter);
  Look look() const;
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
  Look look_ QUILLO_GUARDED_BY(mutex_);
};

// A menu for the status item, or a submenu of it. Built on the main thread; it must outlive what it
// posts, so it lives as long as the application.
class QtMenu final : public Menu {
 public:
  explicit QtMenu(Application& application) : application_(application) {}

  void setAutoenablesItems(bool autoenables) override;
  void insertItem(std::size_t index, const std::string& title,
                  std::function<void()> action) override;
  // Takes the item out of the menu; the item itself stays, for those who know it.
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
