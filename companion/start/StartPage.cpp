#include "companion/start/StartPage.h"

#include <array>
#include <utility>

#include "platform/LocalizedStrings.h"
#include "platform/Page.h"

namespace quillo {
namespace {

constexpr std::array<const char*, 4> stepBoxes = {"stepFolders", "stepAction", "stepDefinitions",
                                                  "stepTest"};
constexpr std::array<const char*, 3> actionButtons = {"leaveInPlace", "quarantine", "moveToTrash"};

}  // namespace

StartPage::StartPage(Page& page, MainWindow& window, const StartPageServices& services,
                     std::function<void()> ended)
    : page_(page),
      window_(window),
      services_(services),
      ended_(std::move(ended)),
      test_(page, services.selfTest),
      suggestions_(services.choices.suggestedFolders()) {
  if (!suggestions_.empty()) {
    folders_.push_back(suggestions_.front());
  }
  page_.setChecked("leaveInPlace", true);
  page_.setChecked("quarantine", false);
  page_.setChecked("moveToTrash", false);
  connect();
  connectActions();
  services_.definitions.observe([this] { showDefinitions(); });
  window_.onShown("start", [this] { skipWhatIsWritten(); });
  showStep();
  skipWhatIsWritten();
}

// Two steps that are filled in for nothing would be two too many.
void StartPage::skipWhatIsWritten() {
  if (isWriting_ || step_ == Step::definitions || step_ == Step::test) {
    return;
  }
  if (const std::string file = services_.choices.writtenBefore(); !file.empty()) {
    step_ = Step::definitions;
    showStep();
    showProblem({"START_ALREADY", {file}});
  }
}

std::string StartPage::text(const std::string& key) const {
  return services_.localizedStrings.stringForKey(key, "");
}

void StartPage::connect() {
  page_.onAction("addSuggestion", [this] {
    const std::size_t chosen = page_.choice("suggestions");
    if (chosen < suggestions_.size()) {
      add({suggestions_[chosen]});
    }
  });
  page_.onAction("addFolder", [this] {
    window_.chooseFolders(text("START_CHOOSE"), "",
                          [this](const std::vector<std::string>& paths) { add(paths); });
  });
  page_.onAction("removeFolder", [this] {
    const std::size_t chosen = page_.choice("folders");
    if (chosen < folders_.size()) {
      folders_.erase(folders_.begin() + static_cast<std::ptrdiff_t>(chosen));
      showFolders();
    }
  });
  page_.onDrop("folders", [this](const std::vector<std::string>& paths) { add(paths); });
  page_.onAction("updateDefinitions", [this] { services_.definitions.start(); });
  page_.onAction("next", [this] { next(); });
  page_.onAction("back", [this] { back(); });
  page_.onAction("cancel", [this] {
    test_.stop();
    ended_();
  });
}

// One of the three is chosen, whoever keeps them apart.
void StartPage::connectActions() {
  for (const char* chosen : actionButtons) {
    page_.onAction(chosen, [this, chosen] {
      if (!page_.isChecked(chosen)) {
        return;
      }
      for (const char* other : actionButtons) {
        if (other != chosen) {
          page_.setChecked(other, false);
        }
      }
    });
  }
}

InfectedFileAction StartPage::action() const {
  if (page_.isChecked("quarantine")) {
    return InfectedFileAction::quarantine;
  }
  return page_.isChecked("moveToTrash") ? InfectedFileAction::moveToTrash
                                        : InfectedFileAction::leaveInPlace;
}

void StartPage::add(const std::vector<std::string>& paths) {
  const FolderIntake intake{
      window_, services_.localizedStrings,
      [this](const std::string& path, const std::vector<std::string>& before) {
        std::vector<std::string> all = folders_;
        all.insert(all.end(), before.begin(), before.end());
        return services_.concernAbout(path, all);
      }};
  intake.take(paths, [this](const FolderIntake::Taken& taken) {
    std::string words;
    const auto addLine = [&words](const std::string& line) {
      words += (words.empty() || line.empty() ? "" : "\n") + line;
    };
    for (const Wording& refusal : taken.refusals) {
      addLine(refusal.in(services_.localizedStrings));
    }
    for (const std::string& folder : taken.folders) {
      folders_.push_back(folder);
      addLine(services_.missedIn(folder));
    }
    showFolders();
    showProblem({"", {words}});
  });
}

void StartPage::showProblem(const Wording& words) {
  const std::string problem = words.in(services_.localizedStrings);
  page_.setVisible("problem", !problem.empty());
  page_.setText("problem", problem);
}

void StartPage::showFolders() {
  page_.setChoices("folders", folders_, folders_.empty() ? 0 : folders_.size() - 1);
  page_.setEnabled("removeFolder", !folders_.empty());
  page_.setEnabled("addSuggestion", !suggestions_.empty());
  showProblem({});
}

void StartPage::showDefinitions() {
  const FirstDefinitions::State state = services_.definitions.state();
  page_.setText("definitionsState", state.words);
  page_.setVisible("definitionsProgress", state.runs);
  page_.setProgress("definitionsProgress", state.done, state.all);
  page_.setEnabled("updateDefinitions", !state.runs);
}

void StartPage::showStep() {
  const auto number = static_cast<std::size_t>(step_);
  for (std::size_t i = 0; i < stepBoxes.size(); ++i) {
    page_.setVisible(stepBoxes.at(i), i == number);
  }
  page_.setText(
      "stepNumber",
      Wording{"START_STEP", {std::to_string(number + 1), std::to_string(stepBoxes.size())}}.in(
          services_.localizedStrings));
  page_.setText("next", text(step_ == Step::test     ? "START_FINISH"
                             : step_ == Step::action ? "START_GUARD"
                                                     : "START_NEXT"));
  // What is written stands: there is nothing to go back to, or to cancel.
  page_.setEnabled("back", step_ == Step::action);
  page_.setEnabled("cancel", step_ == Step::folders || step_ == Step::action);
  page_.setEnabled("next", !isWriting_);
  if (step_ == Step::folders) {
    page_.setChoices("suggestions", suggestions_, 0);
    showFolders();
  } else if (step_ == Step::definitions) {
    showDefinitions();
  }
  showProblem({});
}

void StartPage::back() {
  step_ = Step::folders;
  showStep();
}

void StartPage::next() {
  if (step_ == Step::folders && folders_.empty()) {
    showProblem({"START_NO_FOLDERS"});
    page_.focus("addFolder");
  } else if (step_ == Step::action) {
    write();
  } else if (step_ == Step::test) {
    test_.stop();
    // Whoever comes back begins with what can be done then.
    step_ = Step::folders;
    showStep();
    ended_();
  } else {
    step_ = step_ == Step::folders ? Step::action : Step::test;
    showStep();
  }
}

void StartPage::write() {
  if (std::exchange(isWriting_, true)) {
    return;
  }
  for (const char* button : {"next", "back", "cancel"}) {
    page_.setEnabled(button, false);
  }
  showProblem({"START_WRITING"});
  const Wording problem = services_.choices.write({folders_, action()});
  isWriting_ = false;
  if (!problem.empty()) {
    showStep();
    showProblem(problem);
    return;
  }
  step_ = Step::definitions;
  const bool isStarted = services_.startAgent();
  showStep();
  if (!isStarted) {
    showProblem({"START_NO_AGENT"});
  }
}

}  // namespace quillo
