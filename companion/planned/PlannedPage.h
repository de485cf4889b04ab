#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "companion/planned/PlannedEditor.h"
#include "platform/PlannedScans.h"

namespace quillo {

class Application;
class LocalizedStrings;
class MainWindow;
class Page;
class ThreadStarter;

struct PlannedPageServices {
  Application& application;
  LocalizedStrings& localizedStrings;
  PlannedScans& plannedScans;
  ThreadStarter& threads;
  // Returns a time (seconds since 1970) as this machine's user reads it.
  std::function<std::string(std::int64_t time)> timeInWords;
};

// Returns how often and when, in the user's language. Any thread.
std::string timesInWords(const PlannedScan& scan, LocalizedStrings& strings);

// The page of the planned scans: what systemd has, and an editor for one of them. The system is
// asked on a thread of its own. Main thread.
class PlannedPage {
 public:
  PlannedPage(Page& page, MainWindow& window, const PlannedPageServices& services);

  // Asks what is planned and shows it.
  void refresh();
  // Opens the editor for a new scan of these.
  void planFolders(const std::vector<std::string>& folders);

 private:
  struct Rows;

  void connect();
  // Has the system do something, says what came of it (`done`, a key, where nothing went wrong),
  // and shows what is planned then.
  void change(const std::function<Wording()>& work, const std::string& done);
  void inBackground(std::function<void()> work, std::function<void()> then);
  void show(const PlannedScans::Listing& listing);
  void showState(const Wording& words);
  void showButtons();
  void edit(const PlannedScan& scan);
  void save();
  void askToRemove();
  const PlannedScan* selected() const;

  // Constant after construction.
  Page& page_;
  MainWindow& window_;
  const PlannedPageServices services_;
  const std::shared_ptr<Rows> rows_;
  PlannedEditor editor_;

  bool isBusy_ = false;
  // What was asked for meanwhile.
  std::function<void()> next_;
  // What a thread brings back when the page is gone is dropped.
  const std::shared_ptr<const bool> life_ = std::make_shared<bool>(true);
};

}  // namespace quillo
