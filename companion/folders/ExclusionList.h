#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "companion/settings/PreferenceLists.h"
#include "platform/Page.h"

namespace quillo {

class LocalizedStrings;

// Rows that are few enough to be made at once. Main thread.
class ListedRows final : public TableRows {
 public:
  std::size_t count() override { return rows.size(); }
  Row row(std::size_t index) override { return rows.at(index); }

  std::vector<Row> rows;
};

// The part of the page "folders" that lists what is not to be scanned: the table `exclusions`; the
// field `pattern` with `isExpression` and `isInUse`, which show the selected one; the buttons
// `addPattern`, `changePattern` and `removePattern`; and `patternNote`, which says what is wrong
// with what stands in the field. Main thread.
class ExclusionList {
 public:
  struct Services {
    Exclusions& exclusions;
    LocalizedStrings& localizedStrings;
    // Shows how a change went, in words; nothing when there is nothing to say.
    std::function<void(const Wording&)> report;
  };

  ExclusionList(Page& page, MainWindow& window, const Services& services);

  // Lists them anew. `isEditable` is false where another file decides.
  void show(bool isEditable);
  // Adds a pattern once its user has answered what is to be asked about it: twice where it would
  // exclude everything, or all of a guarded folder.
  void add(const ExcludePattern& pattern);

 private:
  using Action = std::function<void()>;

  void showSelected();
  void showConcern();
  void changeSelected();
  void removeSelected();
  void askIfNeeded(const ExcludePattern& pattern, Action go);
  ExcludePattern patternInField();
  std::string text(const std::string& key) const;
  Wording wordingOf(const Exclusions::Concern& concern) const;

  Page& page_;
  MainWindow& window_;
  const Services services_;
  const std::shared_ptr<ListedRows> rows_ = std::make_shared<ListedRows>();
  std::vector<ExcludePattern> patterns_;
  std::optional<std::size_t> selected_;
  bool isEditable_ = true;
};

}  // namespace quillo
