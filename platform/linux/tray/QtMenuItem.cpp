#include "platform/linux/tray/QtMenuItem.h"

#include <QMenu>
#include <utility>

#include "platform/linux/services/Guarded.h"
#include "platform/linux/tray/QtMenu.h"

namespace quillo {

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

}  // namespace quillo
