#pragma once

#include <QObject>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Application.h"
#include "platform/DockTile.h"
#include "platform/Image.h"

class QMainWindow;

namespace quillo {

// A window with an entry in the task bar, which closing only minimises. Made and destroyed on the
// main thread; lives as long as the application.
class QtDockTile final : public QObject, public DockTile {
 public:
  // `interfaceFolder` holds DockTile.ui; throws PlatformException when that cannot be loaded.
  // `quit` is what the window's own menu does.
  QtDockTile(const std::string& interfaceFolder, Application& application,
             std::function<void()> quit);
  ~QtDockTile() override;

  void setState(const std::string& words) override;
  void setWatchedFolders(const std::vector<std::string>& folders) override;
  void addVerdict(const std::string& line) override;

  // Main thread.
  void show();
  void setIconImage(const ImageRef& image);

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  // Constant after construction.
  Application& application_;
  // Main thread only.
  std::unique_ptr<QMainWindow> window_;
  ImageRef image_;
};

}  // namespace quillo
