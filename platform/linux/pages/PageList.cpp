#include "platform/linux/pages/PageList.h"

#include <QEvent>
#include <QPainter>
#include <QPixmap>
#include <QSignalBlocker>
#include <algorithm>

namespace quillo {
namespace {

constexpr int iconSide = 22;
constexpr int roomAboveAndBelow = 16;
constexpr int roomAtTitle = 48;

QPixmap painted(const QIcon& shape, const QSize& size, const QColor& colour) {
  QPixmap picture = shape.pixmap(size, 1);
  QPainter painter(&picture);
  painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
  painter.fillRect(picture.rect(), colour);
  return picture;
}

}  // namespace

PageList::PageList(const QString& accessibleName) {
  setObjectName("pageList");
  setAccessibleName(accessibleName);
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setTextElideMode(Qt::ElideRight);
  setIconSize(QSize(iconSide, iconSide));
}

void PageList::add(const QString& title, const QIcon& shape, const QString& toolTip) {
  const QSignalBlocker quiet(this);
  auto* item = new QListWidgetItem(title, this);
  item->setToolTip(toolTip);
  item->setSizeHint(QSize(0, std::max(fontMetrics().height(), iconSide) + roomAboveAndBelow));
  const int width = fontMetrics().horizontalAdvance(title) + iconSide + roomAtTitle;
  setFixedWidth(std::max(shapes_.empty() ? 0 : this->width(), width));
  shapes_.push_back(shape);
  paintIcons();
}

void PageList::changeEvent(QEvent* event) {
  QListWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) {
    paintIcons();
  }
}

void PageList::paintIcons() {
  const QSignalBlocker quiet(this);
  for (int row = 0; row < count(); ++row) {
    const QIcon& shape = shapes_[static_cast<std::size_t>(row)];
    QIcon icon;
    for (const QSize& size : shape.availableSizes()) {
      icon.addPixmap(painted(shape, size, palette().color(QPalette::Text)), QIcon::Normal);
      icon.addPixmap(painted(shape, size, palette().color(QPalette::HighlightedText)),
                     QIcon::Selected);
    }
    item(row)->setIcon(icon);
  }
}

}  // namespace quillo
