#pragma once

#include <functional>
#include <string>

namespace quillo {

// One line of a menu. The setters may be called from any thread and are shown soon; the getters
// give at once what was set last.
class MenuItem {
 public:
  virtual ~MenuItem() = default;
  virtual std::string title() const = 0;
  virtual void setTitle(const std::string& title) = 0;
  virtual bool isEnabled() const = 0;
  virtual void setEnabled(bool enabled) = 0;
  virtual bool isHidden() const = 0;
  virtual void setHidden(bool hidden) = 0;
  // What choosing the item does, on the main thread.
  virtual void setAction(std::function<void()> action) = 0;
};

// A menu. Any thread; changes are shown soon, in the order in which they were made.
class Menu {
 public:
  virtual ~Menu() = default;
  // With automatic enabling off, the items keep the state that they are given.
  virtual void setAutoenablesItems(bool autoenables) = 0;
  // Inserts a new item in front of the one at `index` (0 is the top).
  virtual void insertItem(std::size_t index, const std::string& title,
                          std::function<void()> action) = 0;
  virtual void removeItem(MenuItem& item) = 0;
  virtual void removeAllItems() = 0;
};

}  // namespace quillo
