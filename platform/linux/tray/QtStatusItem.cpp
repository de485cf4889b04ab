#include "platform/linux/tray/QtStatusItem.h"

#include <QCursor>
#include <QGuiApplication>
#include <chrono>
#include <utility>

#include "platform/linux/services/Guarded.h"
#include "platform/linux/text/VisibleText.h"
#include "platform/linux/tray/QtImage.h"

namespace quillo {
namespace {

constexpr int longestToolTip = 1000;

// A panel may come late at log-in. A notice that came too early is withdrawn.
constexpr auto shortPatience = std::chrono::seconds(2);
constexpr auto patience = std::chrono::seconds(10);

}  // namespace

QtStatusItem::QtStatusItem(Application& application, TrayHost& host, double length)
    : application_(application), host_(host), takesRoom_(length != 0) {
  host_.onChange([this] { show(); });
}

QtStatusItem::~QtStatusItem() = default;

void QtStatusItem::setImage(const ImageRef& image) {
  change([&](Look& look) { look.image = image; });
}

void QtStatusItem::setAlternateImage(const ImageRef& image) {
  change([&](Look& look) { look.alternateImage = image; });
}

void QtStatusItem::setHighlightMode(bool highlights) {
  change([&](Look& look) { look.highlights = highlights; });
}

void QtStatusItem::setMenu(Menu& menu) {
  change([&](Look& look) { look.menu = dynamic_cast<QtMenu*>(&menu); });
}

void QtStatusItem::setEnabled(bool enabled) {
  change([&](Look& look) { look.isEnabled = enabled; });
}

void QtStatusItem::setToolTip(const std::string& text) {
  change([&](Look& look) { look.toolTip = text; });
}

void QtStatusItem::change(const std::function<void(Look&)>& setter) {
  {
    MutexLock lock(mutex_);
    setter(look_);
    if (std::exchange(isPosted_, true)) {
      return;
    }
  }
  application_.performOnMainThread([this] {
    {
      MutexLock lock(mutex_);
      isPosted_ = false;
    }
    show();
  });
}

QtStatusItem::Look QtStatusItem::look() const {
  MutexLock lock(mutex_);
  return look_;
}

void QtStatusItem::show() {
  const Look look = this->look();
  const bool isWanted = takesRoom_ && look.isEnabled && look.image && look.menu;
  if (!isWanted || host_.kind() == TrayHost::Kind::none) {
    icon_.reset();
    return;
  }
  // Some panels never say that the menu was closed, so the next picture ends the alternate one.
  menuIsOpen_ = menuIsOpen_ && look.image == imageWhenOpened_;
  const bool isAlternate = menuIsOpen_ && look.highlights && look.alternateImage;
  const ImageRef& image = isAlternate ? look.alternateImage : look.image;
  const bool isNew = !icon_;
  if (isNew) {
    putUp(*look.menu);
  }
  if (isNew || shownImage_ != image) {
    icon_->setIcon(QtImage::iconOf(image));
    shownImage_ = image;
  }
  if (isNew || shownToolTip_ != look.toolTip) {
    icon_->setToolTip(elidedInTheMiddle(toolTipText(look.toolTip), longestToolTip));
    shownToolTip_ = look.toolTip;
  }
  if (isNew) {
    icon_->show();
    panelItem_ = opensNoMenu() ? PanelItem::putBeforeQts() : nullptr;
  }
  if (panelItem_) {
    panelItem_->setIcon(icon_->icon());
    panelItem_->setToolTip(icon_->toolTip());
  }
}

// Wayland has no place beside the icon for a menu of the application's.
bool QtStatusItem::opensNoMenu() const {
  return host_.kind() == TrayHost::Kind::statusNotifier &&
         !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

void QtStatusItem::putUp(QtMenu& menu) {
  icon_ = std::make_unique<QSystemTrayIcon>();
  menuIsOpen_ = false;
  menu.setHost(hostOfMenu());
  icon_->setContextMenu(&menu.menu());
  QObject::connect(icon_.get(), &QSystemTrayIcon::activated, icon_.get(),
                   [this, &menu](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger) {
                       openMenu(menu);
                     }
                   });
  if (std::exchange(connectedMenu_, &menu) != &menu) {
    QObject::connect(&menu.menu(), &QMenu::aboutToShow, &host_, [this] { menuOpened(true); });
    QObject::connect(&menu.menu(), &QMenu::aboutToHide, &host_, [this, &menu] {
      menu.setHost(hostOfMenu());
      menuOpened(false);
    });
  }
}

MenuHost QtStatusItem::hostOfMenu() const {
  return host_.kind() == TrayHost::Kind::statusNotifier ? MenuHost::panel : MenuHost::qt;
}

// Trays that open no menu at a plain click leave it to the application.
void QtStatusItem::openMenu(QtMenu& menu) {
  menu.setHost(MenuHost::qt);
  menu.menu().popup(QCursor::pos());
}

void QtStatusItem::menuOpened(bool isOpen) {
  menuIsOpen_ = isOpen;
  imageWhenOpened_ = look().image;
  show();
}

void QtStatusBar::observeRoom(RoomObserver observer) {
  if (QGuiApplication::platformName() == QLatin1String("offscreen")) {
    return;
  }
  roomObserver_ = std::move(observer);
  const auto lookAtHost = [this] {
    if (host_.kind() != TrayHost::Kind::none) {
      patience_.stop();
      reportRoom(Room::shown);
    }
  };
  host_.onChange(lookAtHost);
  patience_.setSingleShot(true);
  QObject::connect(&patience_, &QTimer::timeout, &patience_, [this] {
    const bool isShort = patience_.intervalAsDuration() == shortPatience;
    if (isShort) {
      patience_.start(patience - shortPatience);
    }
    reportRoom(isShort ? Room::notYet : Room::none);
  });
  patience_.start(shortPatience);
  lookAtHost();
}

void QtStatusBar::reportRoom(Room room) {
  const std::string desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP").toStdString();
  guarded([&] { roomObserver_(room, desktop); });
}

}  // namespace quillo
