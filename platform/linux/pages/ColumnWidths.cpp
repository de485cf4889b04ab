#include "platform/linux/pages/ColumnWidths.h"

#include <QEvent>
#include <QHeaderView>
#include <QTableView>
#include <algorithm>
#include <numeric>
#include <utility>

namespace quillo {

ColumnWidths::ColumnWidths(QTableView& view) : QObject(&view), view_(view) {
  view.viewport()->installEventFilter(this);
  QObject::connect(view.horizontalHeader(), &QHeaderView::sectionResized, this, [this](int column) {
    // The last one gets what is left, at every change.
    isByHand_ = isByHand_ || (!isSharing_ && column + 1 < static_cast<int>(needed_.size()));
  });
}

void ColumnWidths::setNeeded(std::vector<int> widths) {
  needed_ = std::move(widths);
  isByHand_ = false;
  share();
}

bool ColumnWidths::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Resize && !isByHand_) {
    share();
  }
  return QObject::eventFilter(watched, event);
}

void ColumnWidths::share() {
  const int all = std::accumulate(needed_.begin(), needed_.end(), 0);
  const int spare = std::max(0, view_.viewport()->width() - all);
  isSharing_ = true;
  for (std::size_t column = 0; column < needed_.size(); ++column) {
    const int part = all > 0 ? spare * needed_[column] / all : 0;
    view_.setColumnWidth(static_cast<int>(column), needed_[column] + part);
  }
  isSharing_ = false;
}

}  // namespace quillo
