#include "platform/linux/pages/QuestionBox.h"

#include <QAbstractButton>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <utility>
#include <vector>

#include "platform/linux/services/Guarded.h"
#include "platform/linux/text/VisibleText.h"

namespace quillo {
namespace {

constexpr int longestText = 1500;

QString shown(const std::string& text) {
  return breakableText(elidedInTheMiddle(displayLines(text), longestText));
}

}  // namespace

void askInBox(QWidget& window, const Question& question,
              std::function<void(std::size_t)> answered) {
  auto* box = new QMessageBox(&window);
  box->setObjectName("question");
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setWindowTitle(window.windowTitle());
  box->setIcon(question.isDangerous ? QMessageBox::Warning : QMessageBox::Question);
  box->setText(shown(question.text));
  box->setInformativeText(shown(question.detail));
  std::vector<QAbstractButton*> buttons;
  for (std::size_t at = 0; at < question.buttons.size(); ++at) {
    const bool isLast = at + 1 == question.buttons.size();
    QPushButton* button = box->addButton(displayText(question.buttons[at]),
                                         isLast ? QMessageBox::RejectRole : QMessageBox::YesRole);
    button->setObjectName(QStringLiteral("answer%1").arg(at));
    buttons.push_back(button);
  }
  if (!buttons.empty()) {
    auto* usual = question.isDangerous ? buttons.back() : buttons.front();
    box->setDefaultButton(qobject_cast<QPushButton*>(usual));
    box->setEscapeButton(buttons.back());
  }
  for (QLabel* label : box->findChildren<QLabel*>()) {
    label->setTextFormat(Qt::PlainText);
  }
  QObject::connect(box, &QMessageBox::finished, &window,
                   [box, buttons, answered = std::move(answered)] {
                     std::size_t number = buttons.empty() ? 0 : buttons.size() - 1;
                     for (std::size_t at = 0; at < buttons.size(); ++at) {
                       number = buttons[at] == box->clickedButton() ? at : number;
                     }
                     guarded([&] { answered(number); });
                   });
  box->open();
}

}  // namespace quillo
