#pragma once

#include <string>
#include <vector>

#include "platform/PlannedScans.h"

namespace quillo {

class LocalizedStrings;
class MainWindow;
class Page;

// Returns the key of a weekday's name, by its number from Monday, 1. Pure.
std::string keyOfWeekday(int day);

// The part of the page in which one planned scan is put together. Main thread.
class PlannedEditor {
 public:
  PlannedEditor(Page& page, MainWindow& window, LocalizedStrings& strings);

  // Shows the scan in its fields.
  void open(const PlannedScan& scan);
  void close();
  bool isOpen() const { return isOpen_; }
  // Returns what the fields hold.
  PlannedScan scan() const;
  void showProblem(const std::string& words);

 private:
  std::string whatIsReplaced() const;
  std::vector<std::string> textsOf(const std::vector<const char*>& keys) const;
  void connect();
  void showFolders();
  void showDay();
  void add(const std::vector<std::string>& paths);
  void removeChosen();

  Page& page_;
  MainWindow& window_;
  LocalizedStrings& strings_;
  PlannedScan scan_;
  bool isOpen_ = false;
};

}  // namespace quillo
