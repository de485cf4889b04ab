#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "companion/quarantine/QuarantineOrder.h"
#include "companion/quarantine/QuarantineWords.h"
#include "platform/Page.h"

namespace quillo {

// The table `files` of the page of the quarantine: what lies there, in the order that `sortBy` and
// `reversed` say, or a title that is pressed. The selection follows the files. Main thread.
class QuarantineList {
 public:
  using Files = std::vector<QuarantinedFile>;

  QuarantineList(Page& page, const QuarantineWords& words);

  // Shows these, which nobody changes any more.
  void show(std::shared_ptr<const Files> files);
  // Sorts as the widgets say by now.
  void sort();
  // Sorts as a title says that is pressed: the same once more turns the order round.
  void sortBy(std::size_t column);
  // Selects the file of that name, and has it seen. Returns false where there is none.
  bool select(const std::string& name);

  std::size_t count() const;
  // In their order; valid until others are shown.
  std::vector<const QuarantinedFile*> selected() const;
  Files selectedFiles() const;

 private:
  class Rows;

  void markOrder();

  // Constant after construction.
  Page& page_;
  const QuarantineWords words_;
  const std::vector<std::string> titles_;
  const std::shared_ptr<Rows> rows_;

  QuarantineOrder order_;
};

}  // namespace quillo
