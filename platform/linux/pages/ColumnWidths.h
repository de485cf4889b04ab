#pragma once

#include <QObject>
#include <vector>

class QTableView;

namespace quillo {

// The columns of a table share what it is wider than they need, each in proportion; where it is
// narrower, the widest give way. Once its user draws one to another width, they are the user's.
// Belongs to the view. Main thread.
class ColumnWidths final : public QObject {
 public:
  explicit ColumnWidths(QTableView& view);

  // What each column needs.
  void setNeeded(std::vector<int> widths);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void share();
  std::vector<int> fitting(int room) const;

  QTableView& view_;
  std::vector<int> needed_;
  bool isSharing_ = false;
  bool isByHand_ = false;
};

}  // namespace quillo
