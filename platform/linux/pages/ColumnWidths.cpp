#include "platform/linux/pages/ColumnWidths.h"

#include <QEvent>
#include <QHeaderView>
#include <QTableView>
#include <algorithm>
#include <numeric>
#include <utility>

namespace quillo {
namespace {

// What still tells one text from another.
constexpr int narrowest = 100;

}  // namespace

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

// The widest of them give way first.
std::vector<int> ColumnWidths::fitting(int room) const {
  std::vector<int> widths = needed_;
  std::vector<int> ordered = needed_;
  std::sort(ordered.begin(), ordered.end());
  int left = room;
  for (std::size_t at = 0; at < ordered.size(); ++at) {
    const int most = left / static_cast<int>(ordered.size() - at);
    if (ordered[at] > most) {
      for (int& width : widths) {
        width = std::min(width, std::max(most, narrowest));
      }
      break;
    }
    left -= ordered[at];
  }
  return widths;
}

void ColumnWidths::share() {
  const int room = view_.viewport()->width();
  const std::vector<int> widths = fitting(room);
  const int all = std::accumulate(widths.begin(), widths.end(), 0);
  const int spare = std::max(0, room - all);
  isSharing_ = true;
  for (std::size_t column = 0; column < widths.size(); ++column) {
    const int part = all > 0 ? spare * widths[column] / all : 0;
    view_.setColumnWidth(static_cast<int>(column), widths[column] + part);
  }
  isSharing_ = false;
}

}  // namespace quillo
