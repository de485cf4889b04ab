#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "history/HistoryReader.h"
#include "platform/Page.h"

namespace quillo {

// Chosen entries of the history as rows of a table, read as they are shown: those around the row
// that is asked for, however many there are. Main thread.
template <typename Entry>
class ReadRows final : public TableRows {
 public:
  // Returns the chosen entries from `row` on, at most `count`.
  using Read = std::function<std::vector<Entry>(const HistorySelection& selection, std::size_t row,
                                                std::size_t count)>;
  using Words = std::function<Row(const Entry& entry)>;

  ReadRows(Read read, Words words) : read_(std::move(read)), words_(std::move(words)) {}

  const HistorySelection& selection() const { return selection_; }
  void choose(HistorySelection selection) {
    selection_ = std::move(selection);
    block_.clear();
  }
  std::size_t count() override { return selection_.count(); }
  Row row(std::size_t row) override { return words_(entry(row)); }

  // Returns an empty one for what was deleted meanwhile.
  const Entry& entry(std::size_t row) {
    if (row < first_ || row >= first_ + block_.size()) {
      first_ = row - row % rowsOfBlock;
      block_ = read_(selection_, first_, rowsOfBlock);
    }
    static const Entry gone;
    return row - first_ < block_.size() ? block_[row - first_] : gone;
  }

 private:
  static constexpr std::size_t rowsOfBlock = 256;

  const Read read_;
  const Words words_;
  HistorySelection selection_;
  std::size_t first_ = 0;
  std::vector<Entry> block_;
};

// Chooses other entries, and keeps those selected that were so before, wherever they stand by now;
// none of more than `mostKept`.
template <typename Entry>
void showOthers(Page& page, const std::string& table, ReadRows<Entry>& rows,
                const HistorySelection& chosen, std::size_t mostKept) {
  const HistorySelection before = rows.selection();
  const std::vector<std::size_t> selected = page.selectedRows(table);
  std::vector<std::size_t> again;
  for (std::size_t at = 0; at < selected.size() && selected.size() <= mostKept; ++at) {
    const auto now =
        selected[at] < before.count() ? chosen.rowOf(before.id(selected[at])) : std::nullopt;
    if (now) {
      again.push_back(*now);
    }
  }
  rows.choose(chosen);
  page.rowsChanged(table);
  page.selectRows(table, again);
}

}  // namespace quillo
