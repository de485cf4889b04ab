#pragma once

#include <QTimer>
#include <memory>
#include <vector>

#include "platform/Application.h"
#include "platform/StatusItem.h"
#include "platform/linux/tray/QtStatusItem.h"
#include "platform/linux/tray/TrayHost.h"

namespace quillo {

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
  void tellRoom(Room room);

  Application& application_;
  TrayHost host_;
  std::vector<std::unique_ptr<QtStatusItem>> items_;
  RoomObserver roomObserver_;
  QTimer patience_;
};

}  // namespace quillo
