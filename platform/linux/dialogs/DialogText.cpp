#include "platform/linux/dialogs/DialogText.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>

#include "platform/linux/text/VisibleText.h"
#include "platform/linux/tray/QtImage.h"
#include "platform/linux/tray/QtMenu.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr int pictureSize = 64;
constexpr int longestLabel = 1000;
constexpr int longestFailure = 400;

QWidget* messageField(const QDialog& dialog) {
  auto* field = dialog.findChild<QWidget*>("theMessage");
  return field ? field : dialog.findChild<QWidget*>("updateWindowText");
}

void setText(QWidget* field, const QString& text) {
  if (auto* label = qobject_cast<QLabel*>(field)) {
    label->setTextFormat(Qt::PlainText);
    label->setText(breakableText(elidedInTheMiddle(text, longestLabel)));
  } else if (auto* line = qobject_cast<QLineEdit*>(field)) {
    line->setText(text);
    line->setCursorPosition(0);
  } else if (auto* edit = qobject_cast<QPlainTextEdit*>(field)) {
    edit->setPlainText(text);
  }
}

void setVisible(const QDialog& dialog, const char* name, bool visible) {
  if (auto* widget = dialog.findChild<QWidget*>(name)) {
    widget->setVisible(visible);
  }
}

}  // namespace

void DialogText::showIn(QDialog& dialog) {
  dialog_ = &dialog;
  showPicture("imageName");
  showMessage();
  showSubject();
  showSuspicion();
  showFailure();
  showOthers();
  setDeleteButtonTitle(deleteButtonTitle_);
}

void DialogText::setMessage(const std::string& message) {
  message_ = message;
  showMessage();
}

void DialogText::setDeleteButtonTitle(const std::string& title) {
  deleteButtonTitle_ = title;
  auto* button = dialog_ ? dialog_->findChild<QAbstractButton*>("deleteButton") : nullptr;
  if (button && !title.empty()) {
    button->setText(MenuTitle::plain(title).forHost(MenuHost::qt));
  }
}

void DialogText::setSubject(const std::string& text) {
  subject_ = text;
  showSubject();
}

void DialogText::setFind(const std::string& path, const std::string& threat) {
  path_ = path;
  threat_ = threat;
  showMessage();
}

void DialogText::setSuspicious(bool suspicious) {
  suspicious_ = suspicious;
  showSuspicion();
}

void DialogText::setFailure(const std::string& text) {
  failure_ = text;
  showFailure();
}

void DialogText::setOthers(int waiting, int open) {
  waiting_ = waiting;
  open_ = open;
  showOthers();
}

void DialogText::showMessage() {
  if (!dialog_ || (!message_ && !path_)) {
    return;
  }
  QWidget* field = messageField(*dialog_);
  auto* threat = dialog_->findChild<QWidget*>("theThreat");
  if (threat && path_) {
    setText(field, displayText(*path_));
    setText(threat, displayText(threat_));
    return;
  }
  if (!message_) {
    return;
  }
  auto* advice = dialog_->findChild<QWidget*>("theAdvice");
  const QStringList lines = displayLines(*message_).split(u'\n');
  if (advice && lines.size() == 3) {
    setText(dialog_->findChild<QWidget*>("theHeading"), lines.at(0));
    setText(field, lines.at(1));
    setText(advice, lines.at(2));
    dialog_->setAccessibleDescription(lines.at(1));
    return;
  }
  setText(field, displayLines(*message_));
  // Read out when the window comes, wherever its keys go.
  dialog_->setAccessibleDescription(elidedInTheMiddle(displayLines(*message_), longestLabel));
  // What the window says by itself of a file is not meant for another message.
  if (dialog_->findChild<QWidget*>("ignoreButton")) {
    setVisible(*dialog_, "theHeading", false);
    showPicture("otherImageName");
  }
}

void DialogText::showSubject() {
  if (dialog_) {
    if (auto* field = dialog_->findChild<QWidget*>("theSubject")) {
      setText(field, displayText(subject_));
    }
    setVisible(*dialog_, "theSubject", !subject_.empty());
    setVisible(*dialog_, "subjectLabel", !subject_.empty());
  }
}

// The words for a suspicion lie beside the usual ones, under a key of their own that a widget of
// the interface file names.
void DialogText::showSuspicion() {
  if (!dialog_ || !suspicious_) {
    return;
  }
  const auto textFor = [&](const QObject& object) {
    const QVariant key = object.property("suspiciousKey");
    return key.isValid() ? localized(key.toString().toStdString().c_str(), "") : QString();
  };
  if (const QString title = textFor(*dialog_); !title.isEmpty()) {
    dialog_->setWindowTitle(title);
  }
  for (QLabel* label : dialog_->findChildren<QLabel*>()) {
    const QString text = textFor(*label);
    const bool isOthers = label == messageField(*dialog_) && message_;
    if (!text.isEmpty() && !isOthers) {
      label->setText(text);
    }
  }
}

// It takes the keyboard, which is where every screen reader reads on; what else announces itself
// depends on which of them is used.
void DialogText::showFailure() {
  auto* field = dialog_ ? dialog_->findChild<QLabel*>("theFailure") : nullptr;
  if (!field) {
    return;
  }
  setText(field, elidedInTheMiddle(displayLines(failure_), longestFailure));
  field->setVisible(!failure_.empty());
  if (!failure_.empty()) {
    field->setTextInteractionFlags(Qt::TextSelectableByKeyboard | Qt::TextSelectableByMouse);
    field->setFocus();
    QAccessibleEvent alert(field, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
  }
}

void DialogText::showOthers() {
  if (!dialog_) {
    return;
  }
  const char* key = kind_ == ButtonDialog::Kind::warning  ? "WARNINGS_WAITING"
                    : kind_ == ButtonDialog::Kind::notice ? "NOTICES_WAITING"
                                                          : "ENGINE_ERRORS_WAITING";
  if (auto* rest = dialog_->findChild<QLabel*>("theRest")) {
    rest->setText(localized(key, "More waiting: %@").replace("%@", QString::number(waiting_)));
    rest->setVisible(waiting_ > 0);
  }
  if (dialog_->findChild<QWidget*>("theThreat")) {
    setVisible(*dialog_, "theHint", open_ > 1);
  }
}

void DialogText::showPicture(const char* nameProperty) {
  auto* label = dialog_->findChild<QLabel*>("thePicture");
  const QVariant name = label ? label->property(nameProperty) : QVariant();
  if (name.isValid()) {
    const ImageRef image = services_.imageLoader.imageNamed(name.toString().toStdString());
    label->setPixmap(QtImage::iconOf(image).pixmap(QSize(pictureSize, pictureSize),
                                                   dialog_->devicePixelRatioF()));
  }
}

QString DialogText::localized(const char* key, const std::string& fallback) const {
  return displayText(services_.localizedStrings.stringForKey(key, fallback));
}

}  // namespace quillo
