#include "platform/linux/pages/RowsModel.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "platform/linux/services/Guarded.h"
#include "platform/linux/text/VisibleText.h"

namespace quillo {
namespace {

constexpr int longestCell = 500;
// Qt counts the height of a table in pixels, in an int.
constexpr std::size_t mostRows = std::numeric_limits<int>::max() / 128;

}  // namespace

void RowsModel::setRows(const std::vector<std::string>& titles, std::shared_ptr<TableRows> rows) {
  beginResetModel();
  titles_.clear();
  for (const std::string& title : titles) {
    titles_.append(displayText(title));
  }
  rows_ = std::move(rows);
  kept_.clear();
  failed_ = false;
  count_ = countRows();
  endResetModel();
}

bool RowsModel::refresh() {
  failed_ = false;
  const int count = countRows();
  if (count != count_) {
    beginResetModel();
    kept_.clear();
    count_ = count;
    endResetModel();
    return false;
  }
  kept_.clear();
  if (count > 0 && !titles_.isEmpty()) {
    Q_EMIT dataChanged(index(0, 0), index(count - 1, columnCount() - 1));
  }
  return true;
}

int RowsModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : count_; }

int RowsModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(titles_.size());
}

QVariant RowsModel::data(const QModelIndex& index, int role) const {
  const Texts* row = index.isValid() && index.row() < count_ ? textsOf(index.row()) : nullptr;
  if (!row) {
    return {};
  }
  const int column = index.column();
  switch (role) {
    case Qt::DisplayRole:
      return row->cells.value(column);
    case Qt::AccessibleTextRole:
      return spoken(*row, column);
    case Qt::ToolTipRole: {
      const auto at = static_cast<std::size_t>(column);
      return at < row->bytes.size() ? toolTipText(row->bytes[at]) : QString();
    }
    case Qt::DecorationRole:
      if (column == 0 && row->sign != TableRows::Sign::none) {
        return marks_.at(static_cast<std::size_t>(row->sign)).picture;
      }
      return {};
    default:
      return {};
  }
}

QVariant RowsModel::headerData(int section, Qt::Orientation orientation, int role) const {
  return orientation == Qt::Horizontal && role == Qt::DisplayRole ? titles_.value(section)
                                                                  : QVariant();
}

QVariant RowsModel::spoken(const Texts& row, int column) const {
  const QString text = row.cells.value(column);
  const QString& word = marks_.at(static_cast<std::size_t>(row.sign)).word;
  return column == 0 && !word.isEmpty() ? word + QStringLiteral(": ") + text : text;
}

int RowsModel::countRows() const {
  std::size_t count = 0;
  guarded([&] { count = rows_ ? rows_->count() : 0; });
  return static_cast<int>(std::min(count, mostRows));
}

const RowsModel::Texts* RowsModel::textsOf(int row) const {
  if (const Texts* known = kept_.object(row)) {
    return known;
  }
  if (failed_) {
    return nullptr;
  }
  failed_ = true;
  auto texts = std::make_unique<Texts>();
  guarded([&] {
    TableRows::Row read = rows_->row(static_cast<std::size_t>(row));
    for (const std::string& cell : read.cells) {
      texts->cells.append(elidedInTheMiddle(displayText(cell), longestCell));
    }
    texts->bytes = std::move(read.cells);
    texts->sign = read.sign;
    failed_ = false;
  });
  if (failed_) {
    return nullptr;
  }
  const Texts* result = texts.get();
  kept_.insert(row, texts.release());
  return result;
}

}  // namespace quillo
