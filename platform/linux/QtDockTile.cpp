#include "platform/linux/QtDockTile.h"

#include <QAction>
#include <QCloseEvent>
#include <QLabel>
#include <QListWidget>
#include <QMainWindow>
#include <algorithm>
#include <utility>

#include "platform/linux/DisplayText.h"
#include "platform/linux/InterfaceFile.h"
#include "platform/linux/QtImage.h"
#include "posix/PlatformException.h"

namespace quillo {
namespace {

constexpr int keptVerdicts = 100;
constexpr int longestLine = 500;
constexpr int pictureSize = 64;

std::unique_ptr<QMainWindow> loadWindow(const std::string& folder) {
  std::string reason;
  auto file = InterfaceFile::read(folder, "DockTile", reason);
  if (!file) {
    throw PlatformException("QtDockTile", "Cannot load the interface file " + reason);
  }
  std::unique_ptr<QWidget> widget = file->makeWidget();
  auto* window = qobject_cast<QMainWindow*>(widget.get());
  if (!window) {
    throw PlatformException("QtDockTile", folder + "/DockTile.ui: theDialog is no main window");
  }
  widget.release();
  return std::unique_ptr<QMainWindow>(window);
}

}  // namespace

QtDockTile::QtDockTile(const std::string& interfaceFolder, Application& application,
                       std::function<void()> quit)
    : application_(application), window_(loadWindow(interfaceFolder)) {
  window_->installEventFilter(this);
  if (auto* action = window_->findChild<QAction*>("quitAction")) {
    QObject::connect(action, &QAction::triggered, this, std::move(quit));
    window_->setContextMenuPolicy(Qt::ActionsContextMenu);
    window_->addAction(action);
  }
}

QtDockTile::~QtDockTile() { window_->removeEventFilter(this); }

void QtDockTile::setState(const std::string& words) {
  application_.performOnMainThread([this, words] {
    if (auto* label = window_->findChild<QLabel*>("theState")) {
      label->setText(displayLines(words));
    }
  });
}

void QtDockTile::setWatchedFolders(const std::vector<std::string>& folders) {
  application_.performOnMainThread([this, folders] {
    if (auto* list = window_->findChild<QListWidget*>("theFolders")) {
      list->clear();
      for (const std::string& folder : folders) {
        list->addItem(elidedInTheMiddle(displayText(folder), longestLine));
      }
    }
  });
}

void QtDockTile::addVerdict(const std::string& line) {
  application_.performOnMainThread([this, line] {
    if (auto* list = window_->findChild<QListWidget*>("theVerdicts")) {
      list->insertItem(0, elidedInTheMiddle(displayText(line), longestLine));
      delete list->takeItem(keptVerdicts);
    }
  });
}

void QtDockTile::show() { window_->show(); }

void QtDockTile::setIconImage(const ImageRef& image) {
  if (std::exchange(image_, image) == image) {
    return;
  }
  const QIcon icon = QtImage::iconOf(image);
  window_->setWindowIcon(icon);
  auto* label = window_->findChild<QLabel*>("thePicture");
  if (label && window_->isVisible() && !window_->isMinimized()) {
    label->setPixmap(icon.pixmap(QSize(pictureSize, pictureSize), window_->devicePixelRatioF()));
  }
}

// Whoever closes it wants it out of the way; the end of the session closes it for good.
bool QtDockTile::eventFilter(QObject* watched, QEvent* event) {
  if (watched == window_.get() && event->type() == QEvent::Close && event->spontaneous()) {
    event->ignore();
    window_->showMinimized();
    return true;
  }
  return false;
}

}  // namespace quillo
