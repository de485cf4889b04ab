#include "platform/linux/tray/QtMenu.h"

#include <QSet>
#include <utility>

namespace quillo {

void QtMenu::setAutoenablesItems(bool autoenables) {
  application_.performOnMainThread([this, autoenables] {
    autoenables_ = autoenables;
    for (const auto& item : items_) {
      item->setAutoenabled(autoenables);
    }
    for (const auto& item : insertedItems_) {
      item->setAutoenabled(autoenables);
    }
  });
}

void QtMenu::insertItem(std::size_t index, const std::string& title, std::function<void()> action) {
  application_.performOnMainThread(
      [this, index, title, action = std::move(action)] { insertNow(index, title, action); });
}

void QtMenu::removeItem(MenuItem& item) {
  auto* removed = dynamic_cast<QtMenuItem*>(&item);
  if (!removed) {
    return;
  }
  application_.performOnMainThread([this, removed] {
    menu_.removeAction(&removed->action());
    tidySeparators();
  });
}

void QtMenu::removeAllItems() {
  application_.performOnMainThread([this] {
    for (QAction* line : menu_.actions()) {
      menu_.removeAction(line);
    }
    insertedItems_.clear();
  });
}

QtMenuItem& QtMenu::addItem(const std::string& markedTitle) {
  items_.push_back(makeItem(MenuTitle::withAccessKey(markedTitle), nullptr));
  menu_.addAction(&items_.back()->action());
  return *items_.back();
}

QtMenuItem& QtMenu::addSubmenu(const std::string& markedTitle, QtMenu& submenu) {
  QtMenuItem& item = addItem(markedTitle);
  item.setSubmenu(submenu);
  return item;
}

void QtMenu::setHost(MenuHost host) {
  host_ = host;
  for (const auto& item : items_) {
    item->setHost(host);
  }
  for (const auto& item : insertedItems_) {
    item->setHost(host);
  }
}

std::unique_ptr<QtMenuItem> QtMenu::makeItem(MenuTitle title, std::function<void()> action) {
  auto item = std::make_unique<QtMenuItem>(application_, std::move(title), std::move(action));
  item->setHost(host_);
  item->setAutoenabled(autoenables_);
  return item;
}

void QtMenu::insertNow(std::size_t index, const std::string& title, std::function<void()> action) {
  insertedItems_.push_back(makeItem(MenuTitle::plain(title), std::move(action)));
  const QList<QAction*> lines = menu_.actions();
  const auto at = static_cast<qsizetype>(index);
  menu_.insertAction(at < lines.size() ? lines.at(at) : nullptr, &insertedItems_.back()->action());
}

// No separator stands first, last, or behind another one.
void QtMenu::tidySeparators() {
  const QList<QAction*> lines = menu_.actions();
  bool followsItem = false;
  QAction* candidate = nullptr;
  QSet<QAction*> kept;
  for (QAction* line : lines) {
    if (!line->isSeparator()) {
      followsItem = true;
      kept.insert(std::exchange(candidate, nullptr));
    } else if (followsItem && !candidate) {
      candidate = line;
    }
  }
  for (QAction* line : lines) {
    if (line->isSeparator()) {
      line->setVisible(kept.contains(line));
    }
  }
}

}  // namespace quillo
