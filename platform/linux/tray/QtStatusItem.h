#pragma once

#include <QPointer>
#include <QSystemTrayIcon>
#include <QTimer>
#include <memory>
#include <string>
#include <vector>

#include "platform/Application.h"
#include "platform/StatusItem.h"
#include "platform/linux/tray/PanelItem.h"
#include "platform/linux/tray/QtMenu.h"
#include "platform/linux/tray/TrayHost.h"
#include "posix/Mutex.h"

namespace quillo {

// One icon in the panel, put up whenever there is a panel. Only what differs from what is shown
// already is sent to it; while a post waits for the main thread, later changes join it.
class QtStatusItem final : public StatusItem {
 public:
  // Main thread; both must outlive the item, which posts to itself.
  QtStatusItem(Application& application, TrayHost& host, double length);
  ~QtStatusItem() override;

  void setImage(const ImageRef& image) override;
  void setAlternateImage(const ImageRef& image) override;
  void setHighlightMode(bool highlights) override;
  // A QtMenu that lives as long as the item, which is not shown before it has a menu and an image.
  void setMenu(Menu& menu) override;
  // A disabled item is not shown.
  void setEnabled(bool enabled) override;
  void setToolTip(const std::string& text) override;

 private:
  struct Look {
    ImageRef image;
    ImageRef alternateImage;
    bool highlights = false;
    bool isEnabled = true;
    QtMenu* menu = nullptr;
    std::string toolTip;
  };

  void change(const std::function<void(Look&)>& setter);
  Look look() const;
  void show();
  void putUp(QtMenu& menu);
  bool opensNoMenu() const;
  MenuHost hostOfMenu() const;
  void openMenu(QtMenu& menu);
  void menuOpened(bool isOpen);

  // Constant after construction.
  Application& application_;
  TrayHost& host_;
  const bool takesRoom_;
  // Main thread only.
  std::unique_ptr<QSystemTrayIcon> icon_;
  QPointer<PanelItem> panelItem_;
  ImageRef shownImage_;
  ImageRef imageWhenOpened_;
  std::string shownToolTip_;
  bool menuIsOpen_ = false;
  QtMenu* connectedMenu_ = nullptr;

  mutable Mutex mutex_;
  Look look_ QUILLO_GUARDED_BY(mutex_);
  bool isPosted_ QUILLO_GUARDED_BY(mutex_) = false;
};

// The panel's place for status items. Lives as long as the application.
class QtStatusBar final : public StatusBar {
 public:
  explicit QtStatusBar(Application& application) : application_(application) {}

  StatusItem& statusItemWithLength(double length) override {
    items_.push_back(std::make_unique<QtStatusItem>(application_, host_, length));
    return *items_.back();
  }
  void observeRoom(RoomObserver observer) override;

 private:
  void reportRoom(Room room);

  Application& application_;
  TrayHost host_;
  std::vector<std::unique_ptr<QtStatusItem>> items_;
  RoomObserver roomObserver_;
  QTimer patience_;
};

}  // namespace quillo
