#include "platform/linux/pages/PageTable.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QScrollBar>
#include <QTableView>
#include <algorithm>
#include <utility>

#include "platform/linux/services/Guarded.h"

namespace quillo {
namespace {

constexpr int fittedRows = 30;
constexpr int widestColumn = 320;
constexpr int roomInCell = 24;

}  // namespace

PageTable::PageTable(QTableView& view, const RowMarks& marks)
    : view_(view), model_(*new RowsModel(marks, &view)), widths_(*new ColumnWidths(view)) {
  arrange();
  view_.setModel(&model_);
  QObject::connect(view_.selectionModel(), &QItemSelectionModel::selectionChanged, &view_, [this] {
    if (!isSetting_ && onSelection_) {
      guarded(std::function<void()>(onSelection_));
    }
  });
  QObject::connect(&view_, &QTableView::activated, &view_, [this] {
    if (onOpened_) {
      guarded(std::function<void()>(onOpened_));
    }
  });
}

void PageTable::arrange() {
  view_.setSelectionBehavior(QAbstractItemView::SelectRows);
  view_.setEditTriggers(QAbstractItemView::NoEditTriggers);
  view_.setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  view_.setTextElideMode(Qt::ElideMiddle);
  view_.setWordWrap(false);
  view_.setShowGrid(false);
  view_.setAlternatingRowColors(true);
  // The key leads on to the next widget, or nobody would come out of the table.
  view_.setTabKeyNavigation(false);
  view_.setCornerButtonEnabled(false);
  view_.verticalHeader()->hide();
  view_.verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  view_.verticalHeader()->setDefaultSectionSize(view_.fontMetrics().height() + 10);
  view_.horizontalHeader()->setHighlightSections(false);
  view_.horizontalHeader()->setStretchLastSection(true);
  view_.horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
}

void PageTable::setRows(const std::vector<std::string>& titles, std::shared_ptr<TableRows> rows) {
  isFitted_ = false;
  isSetting_ = true;
  model_.setRows(titles, std::move(rows));
  isSetting_ = false;
  fitColumns();
}

void PageTable::refresh() {
  const int place = view_.verticalScrollBar()->value();
  isSetting_ = true;
  model_.refresh();
  isSetting_ = false;
  view_.verticalScrollBar()->setValue(place);
  fitColumns();
}

void PageTable::fitColumns() {
  if (isFitted_ || model_.columnCount() == 0) {
    return;
  }
  const int rows = std::min(model_.rowCount(), fittedRows);
  isFitted_ = rows > 0;
  const QFontMetrics metrics = view_.fontMetrics();
  std::vector<int> needed;
  for (int column = 0; column < model_.columnCount(); ++column) {
    const QString title = model_.headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    int width = metrics.horizontalAdvance(title);
    for (int row = 0; row < rows; ++row) {
      const QModelIndex cell = model_.index(row, column);
      const int picture = cell.data(Qt::DecorationRole).isValid() ? roomInCell : 0;
      width =
          std::max(width, metrics.horizontalAdvance(cell.data().toString().left(100)) + picture);
    }
    needed.push_back(std::min(width + roomInCell, widestColumn));
  }
  widths_.setNeeded(std::move(needed));
}

// By ranges: a million selected rows are one of them.
std::vector<std::size_t> PageTable::selectedRows() const {
  std::vector<std::size_t> rows;
  for (const QItemSelectionRange& range : view_.selectionModel()->selection()) {
    for (int row = range.top(); row <= range.bottom(); ++row) {
      rows.push_back(static_cast<std::size_t>(row));
    }
  }
  std::sort(rows.begin(), rows.end());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  return rows;
}

void PageTable::selectRow(std::size_t row) {
  if (row >= static_cast<std::size_t>(model_.rowCount())) {
    return;
  }
  isSetting_ = true;
  const QModelIndex cell = model_.index(static_cast<int>(row), 0);
  view_.selectionModel()->setCurrentIndex(
      cell, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  view_.scrollTo(cell);
  isSetting_ = false;
}

// One range for rows that follow each other.
void PageTable::selectRows(const std::vector<std::size_t>& rows) {
  const auto count = static_cast<std::size_t>(model_.rowCount());
  QItemSelection selection;
  for (std::size_t at = 0; at < rows.size() && rows[at] < count;) {
    const std::size_t first = rows[at];
    std::size_t last = first;
    for (++at; at < rows.size() && rows[at] == last + 1 && rows[at] < count; ++at) {
      last = rows[at];
    }
    selection.select(model_.index(static_cast<int>(first), 0),
                     model_.index(static_cast<int>(last), model_.columnCount() - 1));
  }
  isSetting_ = true;
  view_.selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
  isSetting_ = false;
}

}  // namespace quillo
