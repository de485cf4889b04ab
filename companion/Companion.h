#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Page.h"

namespace quillo {

class LocalizedStrings;
class SystemLog;

// A page of the main application, which lives once it has been seen.
struct LivingPage {
  std::shared_ptr<void> logic;
  // Takes files and folders that another program hands over; null for a page that takes none.
  std::function<void(const std::vector<std::string>& paths)> take = {};
};

struct CompanionPage {
  std::string name;
  std::function<LivingPage(Page& page)> make;
};

// The main application: its pages in the window, in their order, each made when it is first shown.
// Main thread.
class Companion {
 public:
  struct Services {
    MainWindow& window;
    LocalizedStrings& strings;
    SystemLog& systemLog;
  };

  Companion(const Services& services, std::vector<CompanionPage> pages);

  // Shows the page of that name; for "" the one that is shown already, or the first. Returns "", or
  // which pages there are.
  std::string show(const std::string& name);
  // Shows the page that takes files, and hands them over. Returns "", or why there is none.
  std::string open(const std::vector<std::string>& paths);
  bool isShown() const { return !window_.shownPage().empty(); }
  bool has(const std::string& name) { return entryNamed(name) != nullptr; }

 private:
  struct Entry {
    CompanionPage page;
    LivingPage living;
    bool isMade = false;
  };

  Entry* entryNamed(const std::string& name);
  void make(Entry& entry);
  std::string unknown(const std::string& name) const;

  MainWindow& window_;
  LocalizedStrings& strings_;
  SystemLog& systemLog_;
  // Neither grows nor moves once it is filled.
  std::vector<Entry> entries_;
};

}  // namespace quillo
