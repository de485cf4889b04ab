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
    for (const auto* items : {&items_, &insertedItems_}) {
      for (const auto& item : *items) {
        item->setAutoenabled(autoenables);
      }
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
  for (const auto* items : {&items_, &insertedItems_}) {
    for (const auto& item : *items) {
      item->setHost(host);
    }
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
      look_{ownTitle_.text(), std::move(action)} {
  QObject::connect(action_, &QAction::triggered, action_, [this] { perform(); });
  show();
}

// The item may go while Qt still is about its action's last click.
QtMenuItem::~QtMenuItem() {
  action_->disconnect();
  action_->deleteLater();
}

std::string QtMenuItem::title() const { return look().title; }

void QtMenuItem::setTitle(const std::string& title) {
  change([&](Look& look) { look.title = title; });
}

bool QtMenuItem::isEnabled() const { return look().isEnabled; }

void QtMenuItem::setEnabled(bool enabled) {
  change([&](Look& look) { look.isEnabled = enabled; });
}

bool QtMenuItem::isHidden() const { return look().isHidden; }

void QtMenuItem::setHidden(bool hidden) {
  change([&](Look& look) { look.isHidden = hidden; });
}

void QtMenuItem::setAction(std::function<void()> action) {
  change([&](Look& look) { look.perform = std::move(action); });
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

void QtMenuItem::change(const std::function<void(Look&)>& setter) {
  {
    MutexLock lock(mutex_);
    setter(look_);
  }
  application_.performOnMainThread([this] { show(); });
}

QtMenuItem::Look QtMenuItem::look() const {
  MutexLock lock(mutex_);
  return look_;
}

void QtMenuItem::show() {
  const Look look = this->look();
  const bool isOwnTitle = look.title == ownTitle_.text();
  const bool doesSomething = look.perform || submenu_;
  action_->setText((isOwnTitle ? ownTitle_ : MenuTitle::plain(look.title)).forHost(host_));
  action_->setEnabled(look.isEnabled && (doesSomething || !autoenabled_));
  action_->setVisible(!look.isHidden);
}

void QtMenuItem::perform() {
  if (const auto action = look().perform) {
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
