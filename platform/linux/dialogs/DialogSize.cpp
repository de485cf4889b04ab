#include "platform/linux/dialogs/DialogSize.h"

#include <QBoxLayout>
#include <QDialog>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QTextLayout>

namespace quillo {
namespace {

constexpr int mostLinesOfPath = 4;

// How many lines a text takes in a field that is as wide as the window is before it is shown.
int linesOf(const QPlainTextEdit& field, double width) {
  const QPaintDevice* screen = field.viewport();
  QTextLayout layout(field.toPlainText(), field.font(), screen);
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

int marginsOf(const QLayout& layout) {
  const QMargins margins = layout.contentsMargins();
  return margins.left() + margins.right();
}

}  // namespace

DialogSize::DialogSize(QDialog& window) : window_(window), usualWidth_(window.minimumWidth()) {}

void DialogSize::fit(const QSize& room) {
  window_.setMinimumSize(0, 0);
  window_.setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
  arrange(room.width());
  window_.adjustSize();
  const int wanted =
      qMax(usualWidth_, qMax(window_.width(), window_.layout()->minimumSize().width()));
  if (wanted > room.width()) {
    scrollTexts();
  }
  const int width = qMin(wanted, room.width());
  fitPaths(width);
  if (!scroller_ && heightFor(width) > room.height()) {
    scrollTexts();
    fitPaths(width);
  }
  setSize(width, qMin(heightFor(width), room.height()));
}

int DialogSize::grow(const QSize& room) {
  const int height = window_.height();
  window_.layout()->activate();
  const int needed = heightFor(window_.width());
  if (needed > room.height()) {
    scrollTexts();
  }
  const int more = qMin(needed, qMax(height, room.height())) - height;
  if (more > 0) {
    setSize(window_.width(), height + more);
  }
  return qMax(0, more);
}

void DialogSize::arrange(int width) {
  auto* row = window_.findChild<QBoxLayout*>("buttonRow");
  if (!row) {
    return;
  }
  row->setDirection(QBoxLayout::LeftToRight);
  if (row->minimumSize().width() + marginsOf(*window_.layout()) > width) {
    row->setDirection(QBoxLayout::TopToBottom);
  }
}

// As high as each path needs, within reason. A longer one scrolls, and shows its end: the name of
// the file.
void DialogSize::fitPaths(int width) {
  for (QPlainTextEdit* edit : window_.findChildren<QPlainTextEdit*>()) {
    if (edit->isHidden()) {
      continue;
    }
    const int margin = edit->frameWidth() + static_cast<int>(edit->document()->documentMargin());
    const auto setLines = [&](int lines, int margins) {
      edit->setFixedHeight(edit->fontMetrics().lineSpacing() * lines + margins);
      window_.layout()->invalidate();
      layOut(width);
    };
    setLines(1, 2 * margin);
    layOut(width);
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

// Everything above the buttons, from now on.
void DialogSize::scrollTexts() {
  auto* rows = qobject_cast<QBoxLayout*>(window_.layout());
  auto* texts = window_.findChild<QLayout*>("upperRow");
  if (scroller_ || !rows || !texts || rows->indexOf(texts) < 0) {
    return;
  }
  const int place = rows->indexOf(texts);
  rows->takeAt(place);
  scroller_ = new QScrollArea(&window_);
  scroller_->setFrameShape(QFrame::NoFrame);
  scroller_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  scroller_->setFocusPolicy(Qt::NoFocus);
  auto* content = new QWidget;
  texts->setContentsMargins(0, 0, 0, 0);
  content->setLayout(texts);
  scroller_->setWidget(content);
  rows->insertWidget(place, scroller_, 1);
}

int DialogSize::heightFor(int width) const {
  const QLayout& layout = *window_.layout();
  if (scroller_) {
    return layout.totalMinimumSize().height() - scroller_->minimumSizeHint().height() +
           sizeOfTexts(width).height();
  }
  return layout.hasHeightForWidth() ? layout.totalHeightForWidth(width)
                                    : layout.totalSizeHint().height();
}

// Beside the bar that scrolls them.
QSize DialogSize::sizeOfTexts(int width) const {
  const QWidget& content = *scroller_->widget();
  content.layout()->activate();
  const int beside =
      marginsOf(*window_.layout()) + scroller_->verticalScrollBar()->sizeHint().width();
  const int inner = qMax(width - beside, content.layout()->minimumSize().width());
  return {inner, content.hasHeightForWidth() ? content.heightForWidth(inner)
                                             : content.sizeHint().height()};
}

// Gives everything in it the place that it has when the window is so wide. A hidden window does
// that by itself only when it is shown.
void DialogSize::layOut(int width) {
  const int height = heightFor(width);
  window_.resize(width, height);
  window_.layout()->activate();
  window_.layout()->setGeometry(QRect(0, 0, width, height));
  if (scroller_) {
    const QSize texts = sizeOfTexts(width);
    scroller_->widget()->setFixedSize(texts);
    scroller_->widget()->layout()->setGeometry(QRect(QPoint(), texts));
  }
}

void DialogSize::setSize(int width, int height) {
  if (scroller_) {
    scroller_->widget()->setFixedSize(sizeOfTexts(width));
  }
  window_.setFixedSize(width, height);
  window_.resize(width, height);
}

}  // namespace quillo
