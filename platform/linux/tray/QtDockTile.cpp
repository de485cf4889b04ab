#include "platform/linux/tray/QtDockTile.h"

#include <QAction>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMainWindow>
#include <QStyle>
#include <QTimer>
#include <QTreeWidget>
#include <algorithm>
#include <utility>

#include "platform/linux/dialogs/InterfaceFile.h"
#include "platform/linux/services/Guarded.h"
#include "platform/linux/text/VisibleText.h"
#include "platform/linux/tray/QtImage.h"
#include "posix/PlatformException.h"

namespace quillo {
namespace {

constexpr int longestLine = 500;
constexpr int longestVerdict = 40;  // leaves room for the file's name
constexpr int pictureSize = 48;
constexpr int greatestInTaskBar = 48;
constexpr int millisecondsBetweenChanges = 250;
// A task bar takes an icon over at some expense, and half the pictures of the animation look alive.
constexpr int millisecondsBetweenPictures = 200;
enum Column { timeColumn, fileColumn, verdictColumn };

std::unique_ptr<QMainWindow> loadWindow(const std::string& folder) {
  std::string reason;
  auto file = InterfaceFile::read(folder, "DockTile", reason);
  if (!file) {
    throw PlatformException(PlatformException::Kind::notFound, "QtDockTile",
                            "Cannot load the interface file " + reason);
  }
  std::unique_ptr<QWidget> widget = file->makeWidget();
  auto* window = qobject_cast<QMainWindow*>(widget.get());
  if (!window) {
    throw PlatformException(PlatformException::Kind::notFound, "QtDockTile",
                            folder + "/DockTile.ui: theDialog is no main window");
  }
  static_cast<void>(widget.release());
  return std::unique_ptr<QMainWindow>(window);
}

QTreeWidgetItem* lineFor(const DockVerdict& verdict, const QStyle& style) {
  auto* line = new QTreeWidgetItem;
  line->setText(timeColumn, displayText(verdict.time));
  const QString file = elidedInTheMiddle(displayText(verdict.file), longestLine);
  line->setText(fileColumn, file);
  line->setToolTip(fileColumn, elidedInTheMiddle(toolTipText(verdict.file), longestLine));
  const QString words = displayText(verdict.verdict);
  line->setText(verdictColumn, elidedInTheMiddle(words, longestVerdict));
  line->setToolTip(verdictColumn, elidedInTheMiddle(toolTipText(verdict.verdict), longestLine));
  if (verdict.isThreat) {
    // Marked by a sign and not by colour alone.
    line->setIcon(verdictColumn, style.standardIcon(QStyle::SP_MessageBoxWarning));
    QFont bold = line->font(verdictColumn);
    bold.setBold(true);
    line->setFont(verdictColumn, bold);
  }
  return line;
}

}  // namespace

QtDockTile::QtDockTile(std::string interfaceFolder, Application& application,
                       std::function<void()> quit,
                       std::function<void(const std::string& problem)> report)
    : interfaceFolder_(std::move(interfaceFolder)),
      application_(application),
      quit_(std::move(quit)),
      report_(std::move(report)) {}

QtDockTile::~QtDockTile() {
  if (window_) {
    window_->removeEventFilter(this);
  }
}

void QtDockTile::setState(const std::string& words) {
  change([&](Contents& contents) { contents.state = words; });
}

void QtDockTile::setWatchedFolders(const std::vector<std::string>& folders) {
  change([&](Contents& contents) { contents.folders = folders; });
}

void QtDockTile::addVerdict(const DockVerdict& verdict) {
  change([&](Contents& contents) {
    contents.verdicts.push_front(verdict);
    contents.verdicts.resize(std::min(contents.verdicts.size(), keptVerdicts));
  });
}

void QtDockTile::change(const std::function<void(Contents&)>& setter) {
  {
    MutexLock lock(mutex_);
    setter(contents_);
    if (!isShown_ || std::exchange(isPosted_, true)) {
      return;
    }
  }
  application_.performOnMainThread([this] { refreshSoon(); });
}

void QtDockTile::refreshSoon() {
  const qint64 wait = millisecondsBetweenChanges - sinceRefresh_.elapsed();
  if (wait > 0) {
    QTimer::singleShot(static_cast<int>(wait), this, [this] { refresh(); });
  } else {
    refresh();
  }
}

void QtDockTile::refresh() {
  Contents next;
  {
    MutexLock lock(mutex_);
    isPosted_ = false;
    next = contents_;
  }
  sinceRefresh_.start();
  auto* label = window_->findChild<QLabel*>("theState");
  if (label && next.state != shown_.state) {
    label->setText(displayLines(next.state));
  }
  if (next.folders != shown_.folders) {
    fillFolders(next.folders);
  }
  if (next.verdicts != shown_.verdicts) {
    fillVerdicts(next.verdicts);
  }
  shown_ = std::move(next);
}

void QtDockTile::fillFolders(const std::vector<std::string>& folders) {
  if (auto* list = window_->findChild<QListWidget*>("theFolders")) {
    list->clear();
    for (const std::string& folder : folders) {
      list->addItem(elidedInTheMiddle(displayText(folder), longestLine));
    }
  }
}

void QtDockTile::fillVerdicts(const std::deque<DockVerdict>& verdicts) {
  if (auto* list = window_->findChild<QTreeWidget*>("theVerdicts")) {
    list->clear();
    for (const DockVerdict& verdict : verdicts) {
      list->addTopLevelItem(lineFor(verdict, *list->style()));
    }
  }
}

void QtDockTile::makeWindow() {
  window_ = loadWindow(interfaceFolder_);
  window_->installEventFilter(this);
  if (auto* list = window_->findChild<QTreeWidget*>("theVerdicts")) {
    list->header()->setStretchLastSection(false);
    list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    list->header()->setSectionResizeMode(fileColumn, QHeaderView::Stretch);
  }
  if (auto* action = window_->findChild<QAction*>("quitAction")) {
    QObject::connect(action, &QAction::triggered, this, [this] { guarded(quit_); });
    window_->setContextMenuPolicy(Qt::ActionsContextMenu);
    window_->addAction(action);
  }
}

bool QtDockTile::show() {
  stays_ = open() || stays_;
  return window_ != nullptr;
}

bool QtDockTile::bringForward() {
  // A Wayland compositor raises no window that asks for it, but puts a new one in front.
  if (window_ && !window_->isActiveWindow() &&
      QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
    window_->hide();
  }
  if (!open()) {
    return false;
  }
  window_->raise();
  window_->activateWindow();
  return true;
}

bool QtDockTile::isShown() {
  MutexLock lock(mutex_);
  return isShown_;
}

bool QtDockTile::open() {
  if (!window_) {
    try {
      makeWindow();
    } catch (const PlatformException& failure) {
      report_(failure.reason());
      return false;
    }
  }
  {
    MutexLock lock(mutex_);
    isShown_ = true;
  }
  refresh();
  showIcon();
  window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
  window_->show();
  showPicture();
  return true;
}

void QtDockTile::setIconImage(const ImageRef& image) {
  if (std::exchange(image_, image) == image || !window_ || std::exchange(pictureIsDue_, true)) {
    return;
  }
  const qint64 wait = millisecondsBetweenPictures - sincePicture_.elapsed();
  QTimer::singleShot(static_cast<int>(std::max<qint64>(wait, 0)), this, [this] {
    pictureIsDue_ = false;
    showIcon();
    showPicture();
  });
}

void QtDockTile::showIcon() {
  sincePicture_.start();
  const double greatest = greatestInTaskBar * window_->devicePixelRatioF();
  window_->setWindowIcon(QtImage::iconOf(image_, static_cast<int>(greatest)));
}

void QtDockTile::showPicture() {
  auto* label = window_->findChild<QLabel*>("thePicture");
  if (label && window_->isVisible() && !window_->isMinimized()) {
    label->setPixmap(QtImage::iconOf(image_).pixmap(QSize(pictureSize, pictureSize),
                                                    window_->devicePixelRatioF()));
  }
}

void QtDockTile::putAway() {
  if (stays_) {
    window_->showMinimized();
    return;
  }
  window_->hide();
  MutexLock lock(mutex_);
  isShown_ = false;
}

// Whoever closes it wants it out of the way; the end of the session closes it for good.
bool QtDockTile::eventFilter(QObject* watched, QEvent* event) {
  if (watched == window_.get() && event->type() == QEvent::Close && event->spontaneous()) {
    event->ignore();
    putAway();
    return true;
  }
  if (watched == window_.get() && event->type() == QEvent::WindowStateChange) {
    // What changed while it was minimised was not drawn.
    showPicture();
  }
  return false;
}

}  // namespace quillo
