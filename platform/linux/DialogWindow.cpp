#include "platform/linux/DialogWindow.h"

#include <QAbstractButton>
#include <QCursor>
#include <QDialog>
#include <QGuiApplication>
#include <QLabel>
#include <QLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTextLayout>
#include <utility>

#include "platform/linux/Guarded.h"
#include "platform/linux/QtImage.h"

namespace quillo {
namespace {

constexpr int cascadeStep = 28;
constexpr int mostLinesOfPath = 4;

// How many lines a text takes in a field that is as wide as the window is before it is shown.
int linesOf(const QPlainTextEdit& field, double width) {
  QTextLayout layout(field.toPlainText(), field.font());
  QTextOption option;
  option.setWrapMode(field.wordWrapMode());
  layout.setTextOption(option);
  layout.beginLayout();
  int lines = 0;
  for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
    line.setLineWidth(width);
    ++lines;
  }
  layout.endLayout();
  return lines;
}

void scaleFont(QWidget* widget, double factor) {
  if (widget) {
    QFont font = widget->font();
    font.setPointSizeF(font.pointSizeF() * factor);
    widget->setFont(font);
  }
}

}  // namespace

DialogWindow::DialogWindow(InterfaceFile file, DialogServices& services)
    : file_(std::move(file)), services_(services), text_(services) {
  setKind(file_.name == "WarningDialog" ? ButtonDialog::Kind::warning : ButtonDialog::Kind::notice);
}

// It may be one of its own buttons that ends it.
DialogWindow::~DialogWindow() {
  if (dialog_) {
    dialog_->disconnect();
    dialog_->hide();
    dialog_.release()->deleteLater();
    buttonEvents_.release()->deleteLater();
  }
}

void DialogWindow::orderFront(Level level) {
  if (isClosed_) {
    return;
  }
  if (level == Level::inPile) {
    services_.piles.bringForward(shared_from_this(), kind_);
    return;
  }
  if (make()) {
    if (!dialog_->isVisible()) {
      dialog_->setWindowFlag(Qt::WindowStaysOnTopHint);
      moveTo(std::nullopt);
    }
    dialog_->show();
    dialog_->raise();
    dialog_->activateWindow();
  }
}

void DialogWindow::orderOut() {
  if (dialog_) {
    dialog_->hide();
  }
  services_.piles.takeOff(*this);
}

void DialogWindow::close() {
  isClosed_ = true;
  action_ = nullptr;
  orderOut();
}

void DialogWindow::setMessage(const std::string& message) {
  changeText([&] { text_.setMessage(message); });
}

void DialogWindow::setKind(ButtonDialog::Kind kind) {
  kind_ = kind;
  text_.setKind(kind);
}

void DialogWindow::setSubject(const std::string& text) {
  changeText([&] { text_.setSubject(text); });
}

void DialogWindow::setFind(const std::string& path, const std::string& threat) {
  changeText([&] { text_.setFind(path, threat); });
}

void DialogWindow::setSuspicious(bool suspicious) {
  changeText([&] { text_.setSuspicious(suspicious); });
}

void DialogWindow::showFailure(const std::string& text) {
  changeText([&] { text_.setFailure(text); });
}

// Above other applications' windows, but the keyboard stays where the user types: a space that was
// meant for a letter answers no warning.
bool DialogWindow::appear(int step) {
  if (!make()) {
    return false;
  }
  if (!dialog_->isVisible()) {
    dialog_->setWindowFlag(Qt::WindowStaysOnTopHint);
    dialog_->setAttribute(Qt::WA_ShowWithoutActivating);
    moveTo(step);
  }
  dialog_->show();
  dialog_->raise();
  return true;
}

void DialogWindow::raise() {
  if (dialog_) {
    dialog_->show();
    dialog_->raise();
  }
}

void DialogWindow::setOthers(int waiting, int open) {
  changeText([&] { text_.setOthers(waiting, open); });
}

bool DialogWindow::make() {
  if (dialog_) {
    return true;
  }
  std::unique_ptr<QWidget> widget = file_.makeWidget();
  auto* dialog = qobject_cast<QDialog*>(widget.get());
  if (!dialog) {
    return false;
  }
  widget.release();
  dialog_.reset(dialog);
  buttonEvents_ = std::make_unique<ButtonEvents>(*dialog_);
  QObject::connect(dialog_.get(), &QDialog::rejected, dialog_.get(), [this] { dismiss(); });
  connectButton("deleteButton", ButtonDialog::Button::deleteButton);
  connectButton("openPrefsButton", ButtonDialog::Button::deleteButton);
  connectButton("ignoreButton", ButtonDialog::Button::otherButton);
  connectButton("openVantrelButton", ButtonDialog::Button::otherButton);
  connectButton("showButton", ButtonDialog::Button::otherButton, ModifierKeys::optionKey);
  dialog_->setWindowIcon(QtImage::iconOf(services_.imageLoader.imageNamed("application")));
  arrange();
  text_.showIn(*dialog_);
  return true;
}

void DialogWindow::connectButton(const char* name, ButtonDialog::Button button,
                                 unsigned int extraKeys) {
  if (auto* pressed = dialog_->findChild<QAbstractButton*>(name)) {
    QObject::connect(pressed, &QAbstractButton::clicked, dialog_.get(), [this, button, extraKeys] {
      press(button, buttonEvents_->takeKeys() | extraKeys);
    });
  }
}

// What an interface file cannot state in the user's own font.
void DialogWindow::arrange() {
  scaleFont(dialog_->findChild<QLabel*>("theHeading"), 1.2);
  scaleFont(dialog_->findChild<QLabel*>("theHint"), 0.9);
  for (QPushButton* button : dialog_->findChildren<QPushButton*>()) {
    if (button->isDefault()) {
      button->setFocus();
    }
  }
  if (auto* rest = dialog_->findChild<QLabel*>("theRest")) {
    QSizePolicy policy = rest->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    rest->setSizePolicy(policy);
  }
  for (QPlainTextEdit* path : dialog_->findChildren<QPlainTextEdit*>()) {
    path->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  }
}

void DialogWindow::press(ButtonDialog::Button button, unsigned int keys) {
  const auto self = shared_from_this();
  const ButtonDialog::Action action = action_;
  const bool isAnswer = dialog_->findChild<QAbstractButton*>("ignoreButton") != nullptr;
  if (action) {
    services_.modifierKeys.performWith(keys, [&] { guarded([&] { action(button); }); });
  }
  if (isAnswer && button == ButtonDialog::Button::otherButton) {
    orderOut();
  }
}

// Closed by the window manager or the Escape key.
void DialogWindow::dismiss() {
  const auto self = shared_from_this();
  if (dialog_->findChild<QAbstractButton*>("ignoreButton")) {
    press(ButtonDialog::Button::otherButton, 0);
  } else {
    orderOut();
  }
}

// Texts that wrap take less height in the window's real width than where adjustSize() measures
// them.
void DialogWindow::fit() {
  dialog_->adjustSize();
  const QLayout* layout = dialog_->layout();
  if (layout->hasHeightForWidth()) {
    dialog_->resize(dialog_->width(), layout->totalHeightForWidth(dialog_->width()));
  }
}

// Upwards, so that the buttons stay where somebody may be about to click.
void DialogWindow::changeText(const std::function<void()>& change) {
  if (!dialog_ || !dialog_->isVisible()) {
    change();
    return;
  }
  const QRect was = dialog_->geometry();
  const int above = dialog_->frameGeometry().y() - dialog_->screen()->availableGeometry().y();
  change();
  QLayout* layout = dialog_->layout();
  layout->activate();
  const int more = layout->totalHeightForWidth(was.width()) - was.height();
  if (more > 0) {
    const int up = qBound(0, above, more);
    dialog_->setGeometry(was.adjusted(0, -up, 0, more - up));
  }
}

// As high as each path needs, within reason. A longer one scrolls, and shows its end: the name of
// the file.
void DialogWindow::fitPaths() {
  for (QPlainTextEdit* edit : dialog_->findChildren<QPlainTextEdit*>()) {
    if (edit->isHidden()) {
      continue;
    }
    const int margin = edit->frameWidth() + static_cast<int>(edit->document()->documentMargin());
    const auto setLines = [&](int lines, int margins) {
      edit->setFixedHeight(edit->fontMetrics().lineSpacing() * lines + margins);
      dialog_->layout()->invalidate();
      fit();
    };
    setLines(1, 2 * margin);
    dialog_->layout()->activate();
    const int lines = linesOf(*edit, edit->width() - 2 * margin);
    const bool fits = lines <= mostLinesOfPath;
    edit->setVerticalScrollBarPolicy(fits ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAsNeeded);
    if (!fits) {
      QScrollBar* bar = edit->verticalScrollBar();
      QObject::connect(bar, &QScrollBar::rangeChanged, bar,
                       [bar](int, int end) { bar->setValue(end); });
    }
    // Beside the last of more lines the edge of the next one would show.
    setLines(qBound(1, lines, mostLinesOfPath), fits ? 2 * margin : margin + edit->frameWidth());
  }
}

void DialogWindow::moveTo(std::optional<int> step) {
  const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
  if (!screen) {
    screen = QGuiApplication::primaryScreen();
  }
  if (!screen) {
    return;
  }
  fit();
  fitPaths();
  const QRect room = screen->availableGeometry();
  constexpr int steps = 3;
  const QPoint stride = QPoint(1, 1) * cascadeStep;
  const QPoint pile = step ? stride * steps : QPoint();
  const QPoint corner(room.x() + qMax(0, (room.width() - dialog_->width() - pile.x()) / 2),
                      room.y() + qMax(0, (room.height() - dialog_->height() - pile.y()) / 2));
  const QPoint place = corner + stride * step.value_or(0);
  dialog_->move(qMax(room.x(), place.x()), qMax(room.y(), place.y()));
}

}  // namespace quillo
