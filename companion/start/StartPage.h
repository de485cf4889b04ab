#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "companion/folders/FolderIntake.h"
#include "companion/selftest/SelfTestView.h"
#include "companion/start/FirstChoices.h"

namespace quillo {

class LocalizedStrings;
class MainWindow;
class Page;

// The virus definitions, as far as the first start is concerned with them. Main thread.
class FirstDefinitions {
 public:
  struct State {
    bool runs = false;
    std::uint64_t done = 0;  // of what is being downloaded; 0 of 0 while that is not known
    std::uint64_t all = 0;
    std::string words;  // what there is, or what came of the last update, in the user's language
  };

  virtual ~FirstDefinitions() = default;
  virtual State state() = 0;
  virtual void start() = 0;
  virtual void observe(std::function<void()> changed) = 0;
};

struct StartPageServices {
  LocalizedStrings& localizedStrings;
  FirstChoices& choices;
  FirstDefinitions& definitions;
  SelfTestServices selfTest;
  // Has the agent run with the preferences as they are now. Returns false when none can be started.
  std::function<bool()> startAgent;
  FolderIntake::ConcernAbout concernAbout;
  // Returns what is not caught in a folder, in words for the user; "" where nothing is missed.
  std::function<std::string(const std::string& folder)> missedIn;
};

// The first start: which folders, what to do with what is found, the definitions, and a try of it
// all. Nothing is written before the second step is left; a file that is written then is whole.
// Where there are preferences already it begins with the third. Main thread.
class StartPage {
 public:
  // `ended` is called when its user is through with it, or does not want to.
  StartPage(Page& page, MainWindow& window, const StartPageServices& services,
            std::function<void()> ended);

 private:
  enum class Step { folders, action, definitions, test };

  void connect();
  void connectActions();
  void showStep();
  void skipWhatIsWritten();
  void showFolders();
  void showDefinitions();
  void showProblem(const Wording& words);
  void add(const std::vector<std::string>& paths);
  void next();
  void back();
  void write();
  InfectedFileAction action() const;
  std::string text(const std::string& key) const;

  // Constant after construction.
  Page& page_;
  MainWindow& window_;
  const StartPageServices services_;
  const std::function<void()> ended_;

  SelfTestView test_;
  Step step_ = Step::folders;
  std::vector<std::string> suggestions_;
  std::vector<std::string> folders_;
  bool isWriting_ = false;
};

}  // namespace quillo
