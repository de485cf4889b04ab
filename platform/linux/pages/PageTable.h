#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/pages/ColumnWidths.h"
#include "platform/linux/pages/RowsModel.h"

class QLabel;
class QTableView;

namespace quillo {

// A table of a page: how it looks, what is selected in it, and its rows. While there are none, it
// says what its interface file has for that in the property "emptyText", also to a screen reader.
// With "wrapsText" its rows are as high as their texts need: for few rows of sentences. The view
// belongs to the page's widget. Main thread.
class PageTable final {
 public:
  PageTable(QTableView& view, const RowMarks& marks);

  void setRows(const std::vector<std::string>& titles, std::shared_ptr<TableRows> rows);
  void refresh();
  std::vector<std::size_t> selectedRows() const;
  void selectRow(std::size_t row);
  void selectRows(const std::vector<std::size_t>& rows);
  void markTitle(std::size_t column, bool isAscending);
  // All are called for what the user does, and for nothing else.
  void onSelection(std::function<void()> action) { onSelection_ = std::move(action); }
  void onOpened(std::function<void()> action) { onOpened_ = std::move(action); }
  void onTitle(std::function<void(std::size_t)> pressed) { onTitle_ = std::move(pressed); }

 private:
  void arrange();
  void wrapTexts();
  void arrangeHint();
  void showHint();
  // At least as wide as the title and what is to be seen first.
  void fitColumns();

  QTableView& view_;
  RowsModel& model_;
  ColumnWidths& widths_;
  QLabel* hint_ = nullptr;
  std::function<void()> onSelection_;
  std::function<void()> onOpened_;
  std::function<void(std::size_t)> onTitle_;
  bool isSetting_ = false;
  bool isFitted_ = false;
};

}  // namespace quillo
