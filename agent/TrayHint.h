#pragma once

#include <set>
#include <string>

#include "platform/StatusItem.h"

namespace quillo {

class DockWindow;
class Folders;
class LocalizedStrings;
class Notifier;
class SystemLog;
class Throbber;

// Remembers from one run to the next which hints the user has seen, in files of the user's state
// folder. Main thread.
class SeenHints {
 public:
  SeenHints(Folders& folders, SystemLog& log) : folders_(folders), log_(log) {}

  // Returns whether the hint is to be shown: it was not seen in an earlier run, and this run has
  // not asked before.
  bool isNews(const std::string& subject);
  // Keeps it from being shown in later runs. When that cannot be remembered, the log says so.
  void remember(const std::string& subject);
  // Makes it news again.
  void forget(const std::string& subject);

 private:
  std::string fileOf(const std::string& subject) const;

  Folders& folders_;
  SystemLog& log_;
  std::set<std::string> seenNow_;
};

struct TrayHintServices {
  Folders& folders;
  LocalizedStrings& localizedStrings;
  SystemLog& systemLog;
  Notifier& notifier;
};

// The hint on a desktop that has no place for the icon, where the agent looks as if it were not
// there. Shown once on each desktop, once a run where no notification shows it, and again when the
// place was there meanwhile. Main thread.
class TrayHint {
 public:
  TrayHint(const TrayHintServices& services, DockWindow& window, Throbber& menu)
      : services_(services),
        window_(window),
        mainMenu(menu),
        seenHints_(services.folders, services.systemLog) {}

  // Shows the hint by a notification, or by the agent's window where there are none, if it is due;
  // takes it back when the icon has a place.
  void roomChanged(StatusBar::Room room, const std::string& desktop);

 private:
  bool notify();

  const TrayHintServices services_;
  DockWindow& window_;
  Throbber& mainMenu;
  SeenHints seenHints_;
};

}  // namespace quillo
