#include "platform/linux/pages/PageTable.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QScrollBar>
#include <QTableView>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "platform/linux/services/Guarded.h"

namespace quillo {
namespace {

constexpr int fittedRows = 30;
constexpr int widestColumn = 320;
constexpr int roomInCell = 24;
constexpr int roomInRow = 10;
constexpr int fewestRows = 2;

}  // namespace

PageTable::PageTable(QTableView& view, const RowMarks& marks)
    : view_(view), model_(*new RowsModel(marks, &view)), widths_(*new ColumnWidths(view)) {
  arrange();
  arrangeHint();
  view_.setModel(&model_);
  if (view_.property("wrapsText").toBool()) {
    wrapTexts();
  }
  QObject::connect(view_.selectionModel(), &QItemSelectionModel::selectionChanged, &view_, [this] {
    if (!isSetting_ && onSelection_) {
      guarded(std::function<void()>(onSelection_));
    }
  });
  // Whoever comes by keyboard to what has no selection has none of the buttons; and where there is
  // one row only, no arrow makes one.
  QObject::connect(view_.selectionModel(), &QItemSelectionModel::currentRowChanged, &view_,
                   [this](const QModelIndex& now, const QModelIndex& before) {
                     if (now.isValid() && !before.isValid() && !isSetting_ &&
                         !view_.selectionModel()->hasSelection()) {
                       view_.selectRow(now.row());
                     }
                   });
  QObject::connect(&view_, &QTableView::activated, &view_, [this] {
    if (onOpened_) {
      guarded(std::function<void()>(onOpened_));
    }
  });
  QObject::connect(view_.horizontalHeader(), &QHeaderView::sectionClicked, &view_,
                   [this](int column) {
                     if (onTitle_) {
                       const auto pressed = onTitle_;
                       guarded([&] { pressed(static_cast<std::size_t>(column)); });
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
  const int rowHeight = view_.fontMetrics().height() + roomInRow;
  view_.verticalHeader()->setDefaultSectionSize(rowHeight);
  view_.horizontalHeader()->setHighlightSections(false);
  view_.horizontalHeader()->setStretchLastSection(true);
  view_.horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  view_.setMinimumHeight(rowHeight * (fewestRows + 1));
}

void PageTable::wrapTexts() {
  view_.setWordWrap(true);
  const auto fit = [this] {
    const QAbstractItemView& rows = view_;
    for (int row = 0; row < model_.rowCount(); ++row) {
      view_.setRowHeight(row, rows.sizeHintForRow(row) + roomInRow);
    }
  };
  // Once all of them have their widths: the last gets what the others leave.
  QObject::connect(view_.horizontalHeader(), &QHeaderView::sectionResized, &view_, fit,
                   Qt::QueuedConnection);
  QObject::connect(&model_, &QAbstractItemModel::modelReset, &view_, fit);
  QObject::connect(&model_, &QAbstractItemModel::dataChanged, &view_, fit);
}

void PageTable::arrangeHint() {
  const QString text = view_.property("emptyText").toString();
  if (text.isEmpty()) {
    return;
  }
  hint_ = new QLabel(text);
  hint_->setObjectName("qt_hint");
  hint_->setTextFormat(Qt::PlainText);
  hint_->setWordWrap(true);
  hint_->setAlignment(Qt::AlignCenter);
  hint_->setForegroundRole(QPalette::Text);
  // What is pressed or dropped there is meant for the table.
  hint_->setAttribute(Qt::WA_TransparentForMouseEvents);
  (new QVBoxLayout(view_.viewport()))->addWidget(hint_);
  showHint();
}

void PageTable::showHint() {
  if (hint_) {
    const bool isEmpty = model_.rowCount() == 0;
    hint_->setVisible(isEmpty);
    view_.setAccessibleDescription(isEmpty ? hint_->text() : QString());
  }
}

void PageTable::setRows(const std::vector<std::string>& titles, std::shared_ptr<TableRows> rows) {
  isFitted_ = false;
  isSetting_ = true;
  model_.setRows(titles, std::move(rows));
  isSetting_ = false;
  showHint();
  fitColumns();
}

void PageTable::refresh() {
  const int place = view_.verticalScrollBar()->value();
  isSetting_ = true;
  model_.refresh();
  isSetting_ = false;
  showHint();
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

void PageTable::markTitle(std::size_t column, bool isAscending) {
  view_.horizontalHeader()->setSortIndicatorShown(true);
  view_.horizontalHeader()->setSortIndicator(
      static_cast<int>(column), isAscending ? Qt::AscendingOrder : Qt::DescendingOrder);
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
