#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Application.h"
#include "platform/Image.h"
#include "posix/Mutex.h"

class QMainWindow;

namespace quillo {

// A window with an entry in the task bar, which closing only minimises, or takes away where it was
// only brought forward. There is none before it is shown; while it is, it is changed a few times a
// second at most, however much there is to show.
// Made and destroyed on the main thread; lives as long as the application.
class QtDockTile final : public QObject, public DockTile {
 public:
  // `interfaceFolder` holds DockTile.ui. `quit` is what the window's own menu does.
  QtDockTile(std::string interfaceFolder, Application& application, std::function<void()> quit,
             std::function<void(const std::string& problem)> report);
  ~QtDockTile() override;

  void setState(const std::string& words) override;
  void setWatchedFolders(const std::vector<std::string>& folders) override;
  void addVerdict(const DockVerdict& verdict) override;

  // Makes the window at the first call. Returns false, and reports the reason, when it cannot be
  // loaded. Main thread.
  bool show();
  // Shows it in front of other windows; unless it was shown before to stay, closing takes it away.
  // Returns the same. Main thread.
  bool bringForward();
  // Returns true when there is something to be seen of it, if only its entry. Any thread.
  bool isShown();
  // Main thread.
  void setIconImage(const ImageRef& image);

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct Contents {
    std::string state;
    std::vector<std::string> folders;
    std::deque<DockVerdict> verdicts;
  };

  void change(const std::function<void(Contents&)>& setter);
  void refreshSoon();
  void refresh();
  bool open();
  void putAway();
  void makeWindow();
  void fillFolders(const std::vector<std::string>& folders);
  void fillVerdicts(const std::deque<DockVerdict>& verdicts);
  void showIcon();
  void showPicture();

  // Constant after construction.
  const std::string interfaceFolder_;
  Application& application_;
  const std::function<void()> quit_;
  const std::function<void(const std::string& problem)> report_;
  // Main thread only.
  std::unique_ptr<QMainWindow> window_;
  bool stays_ = false;
  ImageRef image_;
  Contents shown_;
  QElapsedTimer sinceRefresh_;
  QElapsedTimer sincePicture_;
  bool pictureIsDue_ = false;

  Mutex mutex_;
  Contents contents_ QUILLO_GUARDED_BY(mutex_);
  bool isShown_ QUILLO_GUARDED_BY(mutex_) = false;
  bool isPosted_ QUILLO_GUARDED_BY(mutex_) = false;
};

}  // namespace quillo
