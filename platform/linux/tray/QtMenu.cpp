#include "platform/linux/tray/QtMenu.h"

#include <QMenu>
#include <QSet>
#include <utility>

#include "platform/linux/services/Guarded.h"
#include "platform/linux/text/VisibleText.h"

namespace quillo {
namespace {

constexpr int longestTitle = 90;

// Qt hands a panel the text with its first "&" made a "_" and all others as they are; a text that
// ends in its first "&" stays as it is.
QString forPanel(QString title) {
  title.replace("_", "__");
  const qsizetype ampersand = title.indexOf(u'&');
  if (ampersand >= 0 && ampersand < title.size() - 1) {
    title.insert(ampersand, u'&');
  }
  return title;
}

}  // namespace

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

QtMenuItem::QtMenuItem(Application& application, MenuTitle title, std::function<void()> action)
    : application_(application),
      ownTitle_(std::move(title)),
      action_(new QAction),
      title_(ownTitle_.text()),
      perform_(std::move(action)) {
  QObject::connect(action_, &QAction::triggered, action_, [this] { perform(); });
  show();
}

// The item may go while Qt still is about its action's last click.
QtMenuItem::~QtMenuItem() {
  action_->disconnect();
  action_->deleteLater();
}

std::string QtMenuItem::title() const {
  MutexLock lock(mutex_);
  return title_;
}

void QtMenuItem::setTitle(const std::string& title) {
  {
    MutexLock lock(mutex_);
    title_ = title;
  }
  post();
}

bool QtMenuItem::isEnabled() const {
  MutexLock lock(mutex_);
  return isEnabled_;
}

void QtMenuItem::setEnabled(bool enabled) {
  {
    MutexLock lock(mutex_);
    isEnabled_ = enabled;
  }
  post();
}

bool QtMenuItem::isHidden() const {
  MutexLock lock(mutex_);
  return isHidden_;
}

void QtMenuItem::setHidden(bool hidden) {
  {
    MutexLock lock(mutex_);
    isHidden_ = hidden;
  }
  post();
}

void QtMenuItem::setAction(std::function<void()> action) {
  {
    MutexLock lock(mutex_);
    perform_ = std::move(action);
  }
  post();
}

void QtMenuItem::setSubmenu(QtMenu& submenu) {
  submenu_ = &submenu;
  action_->setMenu(&submenu.menu());
  show();
}

void QtMenuItem::setHost(MenuHost host) {
  host_ = host;
  show();
  if (submenu_) {
    submenu_->setHost(host);
  }
}

void QtMenuItem::setAutoenabled(bool autoenabled) {
  autoenabled_ = autoenabled;
  show();
}

void QtMenuItem::post() {
  application_.performOnMainThread([this] { show(); });
}

void QtMenuItem::show() {
  std::string title;
  bool isEnabled;
  bool isVisible;
  {
    MutexLock lock(mutex_);
    title = title_;
    const bool doesSomething = perform_ || submenu_;
    isEnabled = isEnabled_ && (doesSomething || !autoenabled_);
    isVisible = !isHidden_;
  }
  const bool isOwnTitle = title == ownTitle_.text();
  action_->setText((isOwnTitle ? ownTitle_ : MenuTitle::plain(title)).forHost(host_));
  action_->setEnabled(isEnabled);
  action_->setVisible(isVisible);
}

void QtMenuItem::perform() {
  std::function<void()> action;
  {
    MutexLock lock(mutex_);
    action = perform_;
  }
  if (action) {
    guarded(action);
  }
}

MenuTitle MenuTitle::withAccessKey(const std::string& markedText) {
  MenuTitle title;
  for (std::size_t i = 0; i < markedText.size(); ++i) {
    if (markedText[i] == '&' && i + 1 < markedText.size()) {
      ++i;
      if (markedText[i] != '&' && title.accessKey_ == std::string::npos) {
        title.accessKey_ = title.text_.size();
      }
    }
    title.text_ += markedText[i];
  }
  return title;
}

MenuTitle MenuTitle::plain(const std::string& text) {
  MenuTitle title;
  title.text_ = text;
  return title;
}

QString MenuTitle::forHost(MenuHost host) const {
  if (accessKey_ != std::string::npos) {
    QString before = displayText(text_.substr(0, accessKey_));
    QString after = displayText(text_.substr(accessKey_));
    if (host == MenuHost::panel) {
      return before.replace("_", "__") + u'&' + after.replace("_", "__");
    }
    return before.replace("&", "&&") + u'&' + after.replace("&", "&&");
  }
  QString title = elidedInTheMiddle(displayText(text_), longestTitle);
  return host == MenuHost::panel ? forPanel(title) : title.replace("&", "&&");
}

}  // namespace quillo
