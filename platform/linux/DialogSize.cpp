#include "platform/linux/DialogSize.h"

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
  if (heightFor(width) > room.height()) {
    scrollTexts();
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
      window_.resize(width, heightFor(width));
    };
    setLines(1, 2 * margin);
    window_.layout()->activate();
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
  scroller_->setWidgetResizable(true);
  scroller_->setFocusPolicy(Qt::NoFocus);
  auto* content = new QWidget;
  texts->setContentsMargins(0, 0, 0, 0);
  content->setLayout(texts);
  scroller_->setWidget(content);
  rows->insertWidget(place, scroller_, 1);
}

int DialogSize::heightFor(int width) const {
  const QLayout& layout = *window_.layout();
  const int whole = layout.hasHeightForWidth() ? layout.totalHeightForWidth(width)
                                               : layout.totalSizeHint().height();
  if (!scroller_) {
    return whole;
  }
  const int inner = width - marginsOf(layout);
  const QWidget& content = *scroller_->widget();
  const int texts =
      content.hasHeightForWidth() ? content.heightForWidth(inner) : content.sizeHint().height();
  return layout.totalMinimumSize().height() - scroller_->minimumSizeHint().height() + texts;
}

void DialogSize::setSize(int width, int height) {
  window_.setFixedSize(width, height);
  window_.resize(width, height);
}

}  // namespace quillo
