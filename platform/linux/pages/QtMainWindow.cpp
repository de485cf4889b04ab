#include "platform/linux/pages/QtMainWindow.h"

#include <QClipboard>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMainWindow>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "platform/LocalizedStrings.h"
#include "platform/linux/dialogs/InterfaceFile.h"
#include "platform/linux/pages/PageList.h"
#include "platform/linux/pages/PathChooser.h"
#include "platform/linux/pages/QuestionBox.h"
#include "platform/linux/pages/WindowSize.h"
#include "platform/linux/services/Guarded.h"
#include "platform/linux/text/VisibleText.h"
#include "platform/linux/tray/QtImage.h"
#include "posix/PlatformException.h"

namespace quillo {
namespace {

const QSize usualSize(960, 640);
constexpr int keysForPages = 9;
constexpr int pageMargin = 20;
constexpr double largerHeading = 1.5;

QSize roomForWindow() {
  const QScreen* screen = QGuiApplication::primaryScreen();
  return screen ? screen->availableSize() - QSize(12, 40) : usualSize;
}

RowMarks rowMarks(ImageLoader& images, LocalizedStrings& strings) {
  const auto mark = [&](const char* image, const char* key, const char* word) {
    return RowMark{QtImage::iconOf(images.imageNamed(image)),
                   displayText(strings.stringForKey(key, word))};
  };
  return {RowMark{}, mark("sign_good", "WINDOW_SIGN_GOOD", "Fine"),
          mark("sign_warning", "WINDOW_SIGN_WARNING", "Attention"),
          mark("sign_threat", "WINDOW_SIGN_THREAT", "Threat")};
}

}  // namespace

// The window itself, which says when its user closes it. Of this class alone a screen reader is
// told that it is a window.
class QtMainWindow::Frame final : public QMainWindow {
 public:
  explicit Frame(QtMainWindow& owner) : owner_(owner) {}

 protected:
  void closeEvent(QCloseEvent* event) override {
    if (!owner_.mayClose()) {
      event->ignore();
      return;
    }
    keepWindowSize(owner_.sizeFile_, size());
    event->accept();
    if (owner_.onClosed_) {
      guarded(owner_.onClosed_);
    }
  }

 private:
  QtMainWindow& owner_;
};

QtMainWindow::QtMainWindow(std::string folder, std::string sizeFile, const Services& services)
    : folder_(std::move(folder)),
      sizeFile_(std::move(sizeFile)),
      strings_(services.localizedStrings),
      pageServices_{services.imageLoader, services.systemLog,
                    rowMarks(services.imageLoader, services.localizedStrings)},
      frame_(std::make_unique<Frame>(*this)) {
  arrange();
  frame_->setWindowIcon(QtImage::iconOf(services.imageLoader.imageNamed("application")));
  frame_->resize(windowSizeFrom(sizeFile_, usualSize, roomForWindow()));
}

QtMainWindow::~QtMainWindow() {
  onClosed_ = nullptr;
  for (const auto& [name, place] : places_) {
    if (place.page) {
      place.page->silence();
    }
  }
  frame_.reset();
}

void QtMainWindow::arrange() {
  const QString title = QStringLiteral("Vantrel");
  frame_->setObjectName("mainWindow");
  frame_->setWindowTitle(title);
  auto* inside = new QWidget;
  frame_->setCentralWidget(inside);
  auto* row = new QHBoxLayout(inside);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(0);
  list_ = new PageList(displayText(strings_.stringForKey("WINDOW_PAGES", "Pages")));
  heading_ = new QLabel;
  heading_->setObjectName("pageHeading");
  heading_->setTextFormat(Qt::PlainText);
  heading_->setContentsMargins(pageMargin, pageMargin, pageMargin, 0);
  QFont large = heading_->font();
  large.setPointSizeF(large.pointSizeF() * largerHeading);
  large.setBold(true);
  heading_->setFont(large);
  stack_ = new QStackedWidget;
  auto* column = new QVBoxLayout;
  column->setSpacing(0);
  column->addWidget(heading_);
  column->addWidget(stack_, 1);
  row->addWidget(list_);
  row->addLayout(column, 1);
  QObject::connect(list_, &QListWidget::currentRowChanged, frame_.get(),
                   [this](int chosen) { guarded([&] { listChose(chosen); }); });
  for (const auto sequence : {QKeySequence::Close, QKeySequence::Quit}) {
    auto* shortcut = new QShortcut(sequence, frame_.get());
    QObject::connect(shortcut, &QShortcut::activated, frame_.get(), [this] { close(); });
  }
}

Page& QtMainWindow::page(const std::string& name) {
  Place& place = places_[name];
  if (place.page) {
    return *place.page;
  }
  std::string reason;
  const bool isName = name.find('/') == std::string::npos;
  const auto file = isName ? InterfaceFile::read(folder_, name, reason, "page") : std::nullopt;
  std::unique_ptr<QWidget> widget = file ? file->makeWidget() : nullptr;
  if (!widget) {
    throw PlatformException(PlatformException::Kind::notFound, "Page " + name,
                            reason.empty() ? name + ": no widget can be made of it" : reason);
  }
  if (QLayout* layout = widget->layout()) {
    layout->setContentsMargins(pageMargin, pageMargin / 2, pageMargin, pageMargin);
  }
  place.page = std::make_unique<QtPage>(name, *widget, pageServices_);
  place.area = new QScrollArea;
  place.area->setFrameShape(QFrame::NoFrame);
  place.area->setWidgetResizable(true);
  place.area->setFocusPolicy(Qt::NoFocus);
  place.area->setWidget(widget.release());
  stack_->addWidget(place.area);
  return *place.page;
}

void QtMainWindow::addToList(const std::string& name, const std::string& title) {
  const auto number = static_cast<int>(listed_.size());
  listed_.push_back(name);
  places_[name].title = title;
  QString keys;
  if (number < keysForPages) {
    auto* shortcut = new QShortcut(
        QKeySequence(QKeyCombination(Qt::CTRL, Qt::Key(Qt::Key_1 + number))), frame_.get());
    QObject::connect(shortcut, &QShortcut::activated, frame_.get(),
                     [this, number] { list_->setCurrentRow(number); });
    keys = shortcut->key().toString(QKeySequence::NativeText);
  }
  const ImageRef shape = pageServices_.imageLoader.imageNamed("page_" + name);
  list_->add(displayText(title), QtImage::iconOf(shape), keys);
}

void QtMainWindow::listChose(int row) {
  if (row >= 0 && static_cast<std::size_t>(row) < listed_.size()) {
    turnTo(listed_[static_cast<std::size_t>(row)]);
  }
}

void QtMainWindow::show(const std::string& name) {
  turnTo(name);
  raise();
}

void QtMainWindow::turnTo(const std::string& name) {
  page(name);
  const Place& place = places_.at(name);
  const auto listed = std::find(listed_.begin(), listed_.end(), name);
  {
    const QSignalBlocker quiet(list_);
    list_->setCurrentRow(listed == listed_.end() ? -1 : static_cast<int>(listed - listed_.begin()));
  }
  stack_->setCurrentWidget(place.area);
  heading_->setText(displayText(place.title));
  heading_->setVisible(!place.title.empty());
  shown_ = name;
  const QString program = QStringLiteral("Vantrel");
  frame_->setWindowTitle(place.title.empty() ? program
                                             : displayText(place.title) + " – " + program);
  if (const auto action = place.shown) {
    guarded(action);
  }
}

void QtMainWindow::onShown(const std::string& name, std::function<void()> action) {
  places_[name].shown = std::move(action);
}

void QtMainWindow::onClose(std::function<bool()> mayClose) {
  mayClose_.push_back(std::move(mayClose));
}

// One that fails does not keep its user in the window for ever.
bool QtMainWindow::mayClose() {
  return std::all_of(mayClose_.begin(), mayClose_.end(), [](const auto& each) {
    bool may = true;
    guarded([&] { may = each(); });
    return may;
  });
}

void QtMainWindow::ask(const Question& question, std::function<void(std::size_t)> answered) {
  askInBox(*frame_, question, std::move(answered));
}

void QtMainWindow::chooseFolders(const std::string& title, const std::string& where,
                                 std::function<void(const std::vector<std::string>&)> chosen) {
  choosePaths(*frame_, Choosable::folders, title, where, std::move(chosen));
}

void QtMainWindow::chooseFiles(const std::string& title, const std::string& where,
                               std::function<void(const std::vector<std::string>&)> chosen) {
  choosePaths(*frame_, Choosable::files, title, where, std::move(chosen));
}

QWidget& QtMainWindow::widget() { return *frame_; }

void QtMainWindow::close() { frame_->close(); }

void QtMainWindow::copy(const std::string& text) {
  QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

void QtMainWindow::raise() {
  const bool isFirst = !frame_->isVisible();
  frame_->setWindowState(frame_->windowState() & ~Qt::WindowMinimized);
  frame_->show();
  frame_->raise();
  frame_->activateWindow();
  if (isFirst) {
    list_->setFocus();
  }
}

}  // namespace quillo
