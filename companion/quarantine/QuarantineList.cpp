#include "companion/quarantine/QuarantineList.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace quillo {
namespace {

constexpr const char* filesTable = "files";

}  // namespace

class QuarantineList::Rows final : public TableRows {
 public:
  explicit Rows(const QuarantineWords& words) : words_(words) {}

  void set(std::shared_ptr<const Files> files, std::vector<std::size_t> places) {
    files_ = std::move(files);
    places_ = std::move(places);
  }
  const std::shared_ptr<const Files>& files() const { return files_; }
  const QuarantinedFile& file(std::size_t row) const { return (*files_)[places_.at(row)]; }
  std::size_t count() override { return places_.size(); }
  Row row(std::size_t row) override {
    const QuarantinedFile& shown = file(row);
    return {{shown.formerName(), words_.origin(shown), words_.threat(shown), words_.moved(shown),
             words_.size(shown.identity.size), words_.state(shown)},
            shown.isCleanByNow()                               ? Sign::good
            : shown.origin == QuarantinedFile::Origin::damaged ? Sign::warning
                                                               : Sign::threat};
  }

 private:
  const QuarantineWords words_;
  std::shared_ptr<const Files> files_ = std::make_shared<Files>();
  std::vector<std::size_t> places_;
};

QuarantineList::QuarantineList(Page& page, const QuarantineWords& words)
    : page_(page),
      words_(words),
      titles_({words.text("FILE"), words.text("ORIGIN"), words.text("THREAT"), words.text("MOVED"),
               words.text("SIZE"), words.text("STATE")}),
      rows_(std::make_shared<Rows>(words)) {
  page_.setRows(filesTable, titles_, rows_);
  page_.setChoices("sortBy", titles_, static_cast<std::size_t>(order_.by));
  markOrder();
}

void QuarantineList::markOrder() {
  page_.markTitle(filesTable, static_cast<std::size_t>(order_.by), order_.isAscending());
}

// A row is another file after a change: the selection follows the files, by name and identity.
void QuarantineList::show(std::shared_ptr<const Files> files) {
  const std::shared_ptr<const Files> before = rows_->files();
  std::unordered_map<std::string, const FileIdentity*> chosen;
  for (const QuarantinedFile* const file : selected()) {
    chosen.emplace(file->name, &file->identity);
  }
  std::vector<std::size_t> places = placesIn(order_, *files, words_);
  std::vector<std::size_t> rows;
  for (std::size_t row = 0; row < places.size() && !chosen.empty(); ++row) {
    const QuarantinedFile& file = (*files)[places[row]];
    const auto found = chosen.find(file.name);
    if (found != chosen.end() && isSameInFolder(*found->second, file.identity)) {
      rows.push_back(row);
    }
  }
  rows_->set(std::move(files), std::move(places));
  page_.rowsChanged(filesTable);
  page_.selectRows(filesTable, rows);
}

void QuarantineList::sort() {
  const std::size_t chosen = std::min(page_.choice("sortBy"), titles_.size() - 1);
  order_ = {static_cast<QuarantineOrder::By>(chosen), page_.isChecked("reversed")};
  markOrder();
  show(rows_->files());
}

void QuarantineList::sortBy(std::size_t column) {
  if (column >= titles_.size()) {
    return;
  }
  const bool isAgain = column == static_cast<std::size_t>(order_.by);
  page_.setChoices("sortBy", titles_, column);
  page_.setChecked("reversed", isAgain && !order_.isReversed);
  sort();
}

bool QuarantineList::select(const std::string& name) {
  for (std::size_t row = 0; row < rows_->count(); ++row) {
    if (rows_->file(row).name == name) {
      page_.selectRow(filesTable, row);
      return true;
    }
  }
  return false;
}

std::size_t QuarantineList::count() const { return rows_->count(); }

std::vector<const QuarantinedFile*> QuarantineList::selected() const {
  std::vector<const QuarantinedFile*> files;
  for (const std::size_t row : page_.selectedRows(filesTable)) {
    if (row < rows_->count()) {
      files.push_back(&rows_->file(row));
    }
  }
  return files;
}

QuarantineList::Files QuarantineList::selectedFiles() const {
  Files files;
  for (const QuarantinedFile* const file : selected()) {
    files.push_back(*file);
  }
  return files;
}

}  // namespace quillo
