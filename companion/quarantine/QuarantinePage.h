#pragma once

#include <memory>
#include <string>
#include <vector>

#include "companion/quarantine/QuarantineList.h"
#include "companion/quarantine/QuarantineWords.h"
#include "companion/quarantine/QuarantineWork.h"
#include "platform/Page.h"

namespace quillo {

// The page of what lies in the quarantine: the list, what is known of the chosen files, and what
// can be done about them. All that touches files happens on threads of their own. It may go while
// one of them works. Main thread.
class QuarantinePage : public std::enable_shared_from_this<QuarantinePage> {
 public:
  static constexpr char name[] = "quarantine";

  // Makes the page and has it read the list anew whenever it comes to be seen.
  static std::shared_ptr<QuarantinePage> make(MainWindow& window, QuarantineServices services);

  // Reads the list anew, and shows that it does.
  void refresh();
  // Likewise, and shows only what has become another.
  void listChanged();
  // Selects the file of that name, or path, once the list has been read.
  void select(const std::string& path);

 private:
  using Files = std::vector<QuarantinedFile>;
  QuarantinePage(MainWindow& window, QuarantineServices services);

  void connect();
  void connectWidgets();
  void show(QuarantineDone done);
  void showList();
  void showRows();
  void sort();
  void showSelection();
  void showBusy(const std::string& words);
  Files cleanFiles() const;
  void restore(const Files& files, const QuarantineStore::Target& target);
  void restoreSelected();
  void restoreClean();
  void restoreElsewhere();
  // Has it done once its user agrees.
  void ask(const Question& question, std::function<void(QuarantinePage&)> action);
  void askAndRestore(const Files& files, const QuarantineStore::Target& target);
  void askToMakeFolders(const Files& files, const QuarantineStore::Target& target);
  void askToDelete();
  void askAgainToDelete(const Files& files);
  void remove(const Files& files);
  void check();
  void askAndAllow();
  void allow(const Files& files);
  // Does it with each file, and reports of each with which it could not be done.
  void doWithEach(
      const std::string& words, const std::string& key, const Files& files,
      std::function<QuarantineOutcome(const QuarantineStore&, const QuarantinedFile&)> action,
      const QuarantineStore::Target& target = {});
  void showDetails(const std::vector<const QuarantinedFile*>& chosen);

  MainWindow& window_;
  Page& page_;
  const QuarantineServices services_;
  const QuarantineWords words_;
  QuarantineList list_;
  std::shared_ptr<QuarantineWork> work_;
  std::shared_ptr<const QuarantineStore::Listing> listing_;
  std::size_t cleanFiles_ = 0;  // of these, that can be put back
  bool isActing_ = false;       // something is being done, or waits, and that is shown
  std::string wanted_;          // the name of the file to select
};

}  // namespace quillo
