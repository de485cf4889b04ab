#pragma once

#include <QAbstractTableModel>
#include <QCache>
#include <QIcon>
#include <QStringList>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "platform/Page.h"

namespace quillo {

// What stands for each TableRows::Sign, in its order: a picture, and a word for who does not see
// it.
struct RowMark {
  QIcon picture;
  QString word;
};
using RowMarks = std::array<RowMark, 4>;

// The rows of a table as Qt asks for them: one at a time when it is to be seen, and kept as long as
// it may be seen again. Main thread.
class RowsModel final : public QAbstractTableModel {
  Q_OBJECT

 public:
  RowsModel(const RowMarks& marks, QObject* parent) : QAbstractTableModel(parent), marks_(marks) {}

  void setRows(const std::vector<std::string>& titles, std::shared_ptr<TableRows> rows);
  // Returns true when there are as many rows as before: then whoever has selected some keeps them.
  bool refresh();

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  static constexpr int keptRows = 500;

  struct Texts {
    std::vector<std::string> bytes;
    QStringList cells;
    TableRows::Sign sign = TableRows::Sign::none;
  };

  int countRows() const;
  const Texts* textsOf(int row) const;
  QVariant spoken(const Texts& row, int column) const;

  const RowMarks& marks_;
  QStringList titles_;
  std::shared_ptr<TableRows> rows_;
  int count_ = 0;
  mutable QCache<int, Texts> kept_{keptRows};
  // Once they cannot be read they are not asked again until they are others.
  mutable bool failed_ = false;
};

}  // namespace quillo
