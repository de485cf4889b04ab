#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "platform/Dialog.h"

namespace quillo {

// One line of a menu. Any thread; what is set is shown soon, and returned by the getters at once.
class MenuItem {
 public:
  virtual ~MenuItem() = default;
  virtual std::string title() const = 0;
  virtual void setTitle(const std::string& title) = 0;
  virtual bool isEnabled() const = 0;
  virtual void setEnabled(bool enabled) = 0;
  virtual bool isHidden() const = 0;
  virtual void setHidden(bool hidden) = 0;
  // Sets what is called on the main thread when the item is chosen.
  virtual void setAction(std::function<void()> action) = 0;
};

// A menu. Any thread; changes are shown soon, in the order in which they were made.
class Menu {
 public:
  virtual ~Menu() = default;
  // Sets automatic enabling, without which items keep the state that they are set to.
  virtual void setAutoenablesItems(bool autoenables) = 0;
  // Inserts a new item in front of the one at `index` (0 is the top).
  virtual void insertItem(std::size_t index, const std::string& title,
                          std::function<void()> action) = 0;
  virtual void removeItem(MenuItem& item) = 0;
  virtual void removeAllItems() = 0;
};

// The main interface file: the menu with its fixed items, and the dialogs that exist once. Made by
// the platform before the delegate, and lives as long as the process.
struct MainInterface {
  Menu& theMenu;
  Menu& theSubMenu;
  // What the agent is doing, and the command that mends what is wrong with it, which is hidden
  // where nothing is.
  MenuItem& stateMenuItem;
  MenuItem& mendMenuItem;
  MenuItem& startMenuItem;
  MenuItem& stopMenuItem;
  MenuItem& foldersWatchedMenuItem;
  MenuItem& restartMenuItem;
  MenuItem& abortMenuItem;
  MenuItem& abortConfirmMenuItem;
  MenuItem& quitMenuItem;
  MenuItem& updateDefsMenuItem;
  MenuItem& openScanLogMenuItem;
  MenuItem& openQuilloConsoleLogMenuItem;
  MenuItem& openUpdateLogMenuItem;
  Dialog& updateWindow;
  // Its message has three lines: its heading, what is wrong, what to do next. Its deleteButton is
  // openPrefsButton, its otherButton openVantrelButton.
  ButtonDialog& noEngineWindow;
  // Where the main application is not installed: one button, deleteButton, is to edit the
  // preferences.
  ButtonDialog& noEngineAloneWindow;
};

}  // namespace quillo
