#include "platform/linux/DialogWindow.h"

#include <QAbstractButton>
#include <QCursor>
#include <QDialog>
#include <QGuiApplication>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QTextLayout>
#include <utility>

#include "platform/linux/DisplayText.h"
#include "platform/linux/MenuTitle.h"
#include "platform/linux/QtImage.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr int pictureSize = 64;
constexpr int cascadeStep = 28;
constexpr int longestLabel = 1000;
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

QWidget* messageField(const QDialog& dialog) {
  auto* field = dialog.findChild<QWidget*>("theMessage");
  return field ? field : dialog.findChild<QWidget*>("updateWindowText");
}

void scaleFont(QWidget* widget, double factor) {
  if (widget) {
    QFont font = widget->font();
    font.setPointSizeF(font.pointSizeF() * factor);
    widget->setFont(font);
  }
}

void setText(QWidget* field, const QString& text) {
  if (auto* label = qobject_cast<QLabel*>(field)) {
    label->setTextFormat(Qt::PlainText);
    label->setText(elidedInTheMiddle(text, longestLabel));
  } else if (auto* line = qobject_cast<QLineEdit*>(field)) {
    line->setText(text);
    line->setCursorPosition(0);
  } else if (auto* edit = qobject_cast<QPlainTextEdit*>(field)) {
    edit->setPlainText(text);
  }
}

}  // namespace

DialogWindow::DialogWindow(InterfaceFile file, DialogServices& services)
    : file_(std::move(file)), services_(services) {}

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
    services_.stack.bringForward(shared_from_this());
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
  services_.stack.takeOff(*this);
}

void DialogWindow::close() {
  isClosed_ = true;
  action_ = nullptr;
  orderOut();
}

void DialogWindow::setMessage(const std::string& message) {
  message_ = message;
  hasMessage_ = true;
  if (dialog_) {
    showMessage();
  }
}

void DialogWindow::setDeleteButtonTitle(const std::string& title) {
  deleteButtonTitle_ = title;
  auto* button = dialog_ ? dialog_->findChild<QAbstractButton*>("deleteButton") : nullptr;
  if (button) {
    button->setText(MenuTitle::plain(title).forHost(MenuHost::qt));
  }
}

// Above other applications' windows, but the keyboard stays where the user types: a space that was
// meant for a letter answers no warning.
bool DialogWindow::appear(int place) {
  if (!make()) {
    return false;
  }
  if (!dialog_->isVisible()) {
    dialog_->setWindowFlag(Qt::WindowStaysOnTopHint);
    dialog_->setAttribute(Qt::WA_ShowWithoutActivating);
    moveTo(place);
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

void DialogWindow::setRest(int count) {
  auto* label = dialog_ ? dialog_->findChild<QLabel*>("theRest") : nullptr;
  if (label) {
    const std::string text =
        services_.localizedStrings.stringForKey("WARNINGS_WAITING", "More warnings waiting: %@");
    label->setText(displayText(replacingAll(text, "%@", std::to_string(count))));
    label->setVisible(count > 0);
  }
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
  showPicture("imageName");
  setRest(0);
  if (hasMessage_) {
    showMessage();
  }
  if (!deleteButtonTitle_.empty()) {
    setDeleteButtonTitle(deleteButtonTitle_);
  }
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
  if (auto* edit = dialog_->findChild<QPlainTextEdit*>("theMessage")) {
    edit->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  }
}

void DialogWindow::showPicture(const char* nameProperty) {
  auto* label = dialog_->findChild<QLabel*>("thePicture");
  const QVariant name = label ? label->property(nameProperty) : QVariant();
  if (name.isValid()) {
    const ImageRef image = services_.imageLoader.imageNamed(name.toString().toStdString());
    label->setPixmap(QtImage::iconOf(image).pixmap(QSize(pictureSize, pictureSize),
                                                   dialog_->devicePixelRatioF()));
  }
}

void DialogWindow::showMessage() {
  QWidget* field = messageField(*dialog_);
  auto* threat = dialog_->findChild<QWidget*>("theThreat");
  InfectionLine infection;
  if (threat && InfectionLine::parse(message_, infection)) {
    setText(field, displayText(infection.path));
    setText(threat, displayText(infection.threat));
    return;
  }
  setText(field, displayLines(message_));
  // A message that is not the window's own is not about what its heading says.
  if (auto* heading = dialog_->findChild<QLabel*>("theHeading")) {
    heading->hide();
    showPicture("otherImageName");
  }
}

void DialogWindow::press(ButtonDialog::Button button, unsigned int keys) {
  const auto self = shared_from_this();
  const ButtonDialog::Action action = action_;
  const bool isAnswer = dialog_->findChild<QAbstractButton*>("ignoreButton") != nullptr;
  if (action) {
    services_.modifierKeys.performWith(keys, [&] { action(button); });
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

// As high as the path needs, within reason; a longer one scrolls.
void DialogWindow::fitPath() {
  auto* edit = dialog_->findChild<QPlainTextEdit*>("theMessage");
  if (!edit) {
    return;
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
  // Below the last of more lines the upper edge of the next one would show.
  setLines(qBound(1, lines, mostLinesOfPath), fits ? 2 * margin : margin + edit->frameWidth());
}

void DialogWindow::moveTo(std::optional<int> place) {
  const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
  if (!screen) {
    screen = QGuiApplication::primaryScreen();
  }
  if (!screen) {
    return;
  }
  fit();
  fitPath();
  const QRect room = screen->availableGeometry();
  const QPoint step = QPoint(1, 1) * cascadeStep;
  const QPoint pile = place ? step * DialogStack::places : QPoint();
  const QPoint corner(room.x() + qMax(0, (room.width() - dialog_->width() - pile.x()) / 2),
                      room.y() + qMax(0, (room.height() - dialog_->height() - pile.y()) / 2));
  dialog_->move(corner + step * place.value_or(0));
}

}  // namespace quillo
