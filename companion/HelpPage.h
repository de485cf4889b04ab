#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "companion/selftest/SelfTestView.h"

namespace quillo {

class MainWindow;
class Page;
class Workspace;

// One thing that was looked at to find out why something does not work, in the user's language.
struct HelpFinding {
  enum class State {
    good,
    warning,  // it works, but not as well as it seems
    problem,
    unknown
  };
  State state = State::unknown;
  std::string subject;
  std::string words;
  std::string remedy = {};   // "" where there is nothing to do
  std::string command = {};  // that is part of the remedy, for a terminal; "" where none is
  std::string page = {};     // on which the remedy is; "" where it is elsewhere
};

struct HelpPageServices {
  Application& application;
  LocalizedStrings& localizedStrings;
  ThreadStarter& threads;
  Workspace& workspace;
  // Asks what can be asked on the main thread only, and returns what looks at all else, which takes
  // seconds, on any thread.
  std::function<std::function<std::vector<HelpFinding>()>()> examine;
  // Where the logs are: "" for one that is nowhere. Main thread.
  std::function<std::string()> scanLog;
  std::function<std::string()> updateLog;
  // Which programs these are, a line each. Main thread.
  std::function<std::string()> versions;
  SelfTestServices selfTest;
};

// What the agent may say, and the page on which that is mended.
struct MendingPlace {
  const char* said;  // keys of texts
  const char* where;
  const char* page;
};
const std::vector<MendingPlace>& mendingPlaces();

// The page that helps: what the program cannot do, where what the agent says is mended, what is
// wrong at the moment, the logs and the versions. Main thread.
class HelpPage {
 public:
  HelpPage(Page& page, MainWindow& window, const HelpPageServices& services);

  // Shows what may have changed since.
  void refresh();

 private:
  struct Findings;
  struct Places;

  void goTo(const std::string& page);
  void lookForProblems();
  void showLimits();
  void connectLog(const char* button, const std::function<std::string()>& log);
  void examine();
  void showFindings(const std::vector<HelpFinding>& findings);
  void connectFindings();
  void showChosen();
  const HelpFinding* chosen() const;
  std::string text(const std::string& key) const;

  // Constant after construction.
  Page& page_;
  MainWindow& window_;
  const HelpPageServices services_;
  const std::shared_ptr<Findings> findings_;

  SelfTestView test_;
  bool isExamining_ = false;
  // What a thread brings back when the page is gone is dropped.
  const std::shared_ptr<const bool> life_ = std::make_shared<bool>(true);
};

}  // namespace quillo
