#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "companion/planned/LastScans.h"
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
  // As lastScansOf(): what was really scanned. Called on a thread of its own.
  std::function<std::optional<LastScans>(const std::vector<PlannedScan>& scans)> lastScans =
      [](const std::vector<PlannedScan>&) { return std::nullopt; };
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
  // What is planned, and what came of it.
  struct Planned {
    PlannedScans::Listing listing;
    std::optional<LastScans> last;
  };
  struct Job {
    std::function<void()> work;
    std::function<void()> then;
    bool isLook = false;  // several that wait are one
  };

  void connect();
  // Has the system do something, says what came of it (`done`, a key, where nothing went wrong),
  // and shows what is planned then.
  void change(const std::function<Wording()>& work, const std::string& done);
  static Planned look(const PlannedPageServices& services);
  void add(Job job);
  void begin(Job job);
  void beginNext();
  void changed(const Wording& problem, const std::string& done);
  void show(const Planned& planned);
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
  // What was asked for meanwhile, in its order.
  std::deque<Job> waiting_;
  // Changes whose end has not been said, and what was said of those before.
  int changes_ = 0;
  std::string said_;
  // What a thread brings back when the page is gone is dropped.
  const std::shared_ptr<const bool> life_ = std::make_shared<bool>(true);
};

}  // namespace quillo
