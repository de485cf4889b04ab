#include "platform/linux/dialogs/DialogWindow.h"

#include <QAbstractButton>
#include <QCursor>
#include <QDialog>
#include <QGuiApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QWindow>
#include <utility>

#include "platform/linux/dialogs/ButtonEvents.h"
#include "platform/linux/services/Guarded.h"
#include "platform/linux/session/DisplayChoice.h"
#include "platform/linux/tray/QtImage.h"

namespace quillo {
namespace {

constexpr int cascadeStep = 28;

// What a window may take, with its frame and a bar of the desktop's, of which Wayland says nothing.
QSize roomOn(const QScreen& screen) {
  const bool isWayland = QGuiApplication::platformName().startsWith("wayland");
  const QSize besides(12, isWayland ? 72 : 32);
  return screen.availableSize() - besides;
}

// While it comes up. Managers of X11 windows heed the time of the last key (_NET_WM_USER_TIME 0,
// for WA_ShowWithoutActivating); Wayland compositors with X11 windows of theirs only the hint that
// such a window takes no keys.
void declineFocus(QDialog& dialog) {
  keepFocusFromFloatingWindows();
  dialog.setAttribute(Qt::WA_ShowWithoutActivating);
  if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
    dialog.winId();
    dialog.windowHandle()->setFlag(Qt::WindowDoesNotAcceptFocus);
  }
}

// From then on as any other window.
void acceptFocus(const QDialog& dialog) {
  dialog.windowHandle()->setFlag(Qt::WindowDoesNotAcceptFocus, false);
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
    declineFocus(*dialog_);
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
  static_cast<void>(widget.release());
  dialog_.reset(dialog);
  size_ = std::make_unique<DialogSize>(*dialog_);
  buttonEvents_ = std::make_unique<ButtonEvents>(*dialog_);
  new ButtonPause(*dialog_, [window = dialog_.get()] { acceptFocus(*window); });
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
  // The Enter key answers nothing but a button that was walked to.
  for (QPushButton* button : dialog_->findChildren<QPushButton*>()) {
    button->setAutoDefault(false);
    button->setDefault(false);
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

// Upwards, so that the buttons stay where somebody may be about to click.
void DialogWindow::changeText(const std::function<void()>& change) {
  if (!dialog_ || !dialog_->isVisible()) {
    change();
    return;
  }
  const QPoint was = dialog_->pos();
  const int above = dialog_->frameGeometry().y() - dialog_->screen()->availableGeometry().y();
  change();
  if (const int more = size_->grow(roomOn(*dialog_->screen())); more > 0) {
    dialog_->move(was.x(), was.y() - qBound(0, above, more));
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
  size_->fit(roomOn(*screen));
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
