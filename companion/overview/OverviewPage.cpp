#include "companion/overview/OverviewPage.h"

#include <utility>

#include "companion/definitions/DefinitionUpdate.h"
#include "companion/overview/OverviewText.h"
#include "platform/LocalizedStrings.h"
#include "platform/Page.h"
#include "platform/Session.h"
#include "posix/Clock.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

constexpr char name[] = "overview";

const char* imageOf(Guard::Sign sign) {
  switch (sign) {
    case Guard::Sign::guarded:
      return "guard_good";
    case Guard::Sign::scanning:
      return "guard_scanning";
    case Guard::Sign::attention:
      return "guard_attention";
    case Guard::Sign::notGuarded:
      return "guard_none";
    default:
      return "guard_unknown";
  }
}

// What a screen reader says of the picture.
const char* signKeyOf(Guard::Sign sign) {
  switch (sign) {
    case Guard::Sign::guarded:
      return "OVERVIEW_SIGN_GUARDED";
    case Guard::Sign::scanning:
      return "OVERVIEW_SIGN_SCANNING";
    case Guard::Sign::attention:
      return "OVERVIEW_SIGN_ATTENTION";
    case Guard::Sign::notGuarded:
      return "OVERVIEW_SIGN_NOT_GUARDED";
    default:
      return "OVERVIEW_SIGN_UNKNOWN";
  }
}

const char* buttonKeyOf(Guard::Remedy remedy) {
  switch (remedy) {
    case Guard::Remedy::startAgent:
      return "OVERVIEW_MEND_START_AGENT";
    case Guard::Remedy::startWatching:
      return "OVERVIEW_MEND_START_WATCHING";
    case Guard::Remedy::restartAgent:
      return "OVERVIEW_MEND_RESTART_AGENT";
    case Guard::Remedy::updateDefinitions:
      return "OVERVIEW_MEND_UPDATE";
    case Guard::Remedy::setUp:
      return "OVERVIEW_MEND_SET_UP";
    case Guard::Remedy::setUpEngine:
      return "OVERVIEW_MEND_SET_UP_ENGINE";
    case Guard::Remedy::chooseFolders:
      return "OVERVIEW_MEND_CHOOSE_FOLDERS";
    case Guard::Remedy::showFolders:
      return "OVERVIEW_MEND_SHOW_FOLDERS";
    default:
      return "";
  }
}

void showIfAny(Page& page, const std::string& widget, const std::string& text) {
  page.setText(widget, text);
  page.setVisible(widget, !text.empty());
}

}  // namespace

OverviewPage::OverviewPage(Page& page, MainWindow& window, const OverviewServices& services)
    : page_(page),
      window_(window),
      services_(services),
      counting_(services.counts, services.application, services.threads,
                [this](const RecentCounts::Counts& counts) {
                  counts_ = counts;
                  showCounts();
                }) {
  page_.onAction("mendButton", [this] { mend(); });
  page_.onAction("updateButton", [this] { services_.update.start(); });
  page_.onAction("resultsButton", [this] { window_.show("results"); });
  window_.onShown(name, [this] { refresh(); });
  window_.onClose([this] { return mayClose(); });
  services_.update.observe([this] {
    showUpdate();
    if (!services_.update.state().runs) {
      mayEndUpdate_ = false;
      lookForDefinitions();
      showFacts();
    }
  });
  services_.agent.observe([this] { agentChanged(); });
  refresh();
}

void OverviewPage::refresh() {
  countAnew();
  lookForDefinitions();
  known_ = services_.agent.status().value_or(AgentStatus());
  showGuard();
  showFacts();
  showUpdate();
}

void OverviewPage::agentChanged() {
  if (startsOnceGone_ && services_.agent.presence() == AgentPresence::absent) {
    startsOnceGone_ = false;
    startAgent();
  }
  // Several a second while it scans: what lies on the disk is asked for when it says that this is
  // another.
  const AgentStatus before =
      std::exchange(known_, services_.agent.status().value_or(AgentStatus()));
  if (known_.verdicts != before.verdicts || known_.historyProblem != before.historyProblem) {
    countAnew();
  }
  if (known_.definitionsBuilt != before.definitionsBuilt ||
      known_.definitionFolder != before.definitionFolder || known_.updating != before.updating) {
    lookForDefinitions();
  }
  showGuard();
  showFacts();
  showUpdate();
}

void OverviewPage::countAnew() { counting_.begin(services_.clock.wallTime() - recently); }

void OverviewPage::lookForDefinitions() {
  definitions_ = definitionsInUse(services_.agent.status(),
                                  services_.preferences.value(key::pathToClamav).value_or(""));
}

void OverviewPage::showGuard() {
  guard_ = judgeGuard(services_.agent.presence(), services_.agent.status(), services_.strings,
                      services_.clock.wallTime());
  page_.setImage("signPicture", imageOf(guard_.sign));
  page_.setText("signText", text(signKeyOf(guard_.sign)));
  page_.setText("sentence", guard_.sentence.in(services_.strings));
  showIfAny(page_, "reason", reason());
  const bool canMend = guard_.remedy != Guard::Remedy::none;
  page_.setVisible("mendButton", canMend);
  if (canMend) {
    page_.setText("mendButton", text(buttonKeyOf(guard_.remedy)));
  }
}

// Of an agent that is awaited, or does not come, there is more to say than that none runs.
std::string OverviewPage::reason() const {
  const AgentStart start = services_.agent.lastStart();
  if (guard_.remedy == Guard::Remedy::startAgent && start.isUnderWay) {
    return text("OVERVIEW_STARTS");
  }
  if (guard_.remedy == Guard::Remedy::startAgent && !start.problem.empty()) {
    return Wording{"OVERVIEW_START_FAILED", {start.problem.in(services_.strings)}}.in(
        services_.strings);
  }
  if (guard_.remedy == Guard::Remedy::setUpEngine && !engineProblem_.empty()) {
    return engineProblem_.in(services_.strings);
  }
  return guard_.reason.empty() ? "" : guard_.reason.in(services_.strings);
}

void OverviewPage::showFacts() {
  const OverviewText facts(services_.strings, services_.clock.wallTime());
  const auto status = services_.agent.status();
  showIfAny(page_, "watchingText", facts.watching(status));
  page_.setText("scanningText", facts.scanning(status));
  page_.setText("definitionsText", facts.definitions(definitions_));
  showIfAny(page_, "historyText", facts.history(status));
  showCounts();
}

void OverviewPage::showCounts() {
  const OverviewText facts(services_.strings, services_.clock.wallTime());
  page_.setText("foundText", counts_ ? facts.found(*counts_) : text("OVERVIEW_COUNTING"));
  showIfAny(page_, "notScannedText", counts_ ? facts.notScanned(*counts_) : "");
}

void OverviewPage::showUpdate() {
  const DefinitionUpdate::State& state = services_.update.state();
  const bool agentUpdates = services_.agent.status() && services_.agent.status()->updating;
  const bool runs = state.runs || agentUpdates;
  page_.setEnabled("updateButton", !runs);
  page_.setVisible("updateProgress", runs);
  showWhetherMending(runs);
  const UpdateProgress progress = state.progress.value_or(UpdateProgress());
  page_.setProgress("updateProgress", progress.done, progress.all);
  const OverviewText words(services_.strings, services_.clock.wallTime());
  showIfAny(page_, "updateText",
            agentUpdates && !state.runs ? text("OVERVIEW_UPDATE_RUNS") : words.update(state));
}

// What the button does is not begun twice.
void OverviewPage::showWhetherMending(bool updates) {
  const bool isMending =
      (guard_.remedy == Guard::Remedy::updateDefinitions && updates) ||
      (guard_.remedy == Guard::Remedy::startAgent && services_.agent.lastStart().isUnderWay);
  page_.setEnabled("mendButton", !isMending);
}

void OverviewPage::mend() {
  switch (guard_.remedy) {
    case Guard::Remedy::startAgent:
      startAgent();
      break;
    case Guard::Remedy::startWatching:
      services_.notifications.post("VantrelQuilloShouldRestart", "Vantrel");
      break;
    case Guard::Remedy::restartAgent:
      restartAgent();
      break;
    case Guard::Remedy::updateDefinitions:
      services_.update.start();
      break;
    case Guard::Remedy::setUp:
      window_.show("start");
      break;
    case Guard::Remedy::setUpEngine:
      setUpEngine();
      break;
    case Guard::Remedy::chooseFolders:
    case Guard::Remedy::showFolders:
      window_.show("folders");
      break;
    case Guard::Remedy::none:
      break;
  }
}

void OverviewPage::startAgent() {
  if (services_.agent.start()) {
    showGuard();
    showUpdate();
  } else {
    showIfAny(page_, "reason", text("OVERVIEW_CANNOT_START"));
  }
}

// Takes seconds, in which the window answers.
void OverviewPage::setUpEngine() {
  page_.setEnabled("mendButton", false);
  engineProblem_ = services_.setUpEngine();
  showGuard();
  showUpdate();
}

void OverviewPage::restartAgent() {
  startsOnceGone_ = true;
  services_.notifications.post("VantrelQuilloShouldQuit", "Vantrel");
}

// What an updater has downloaded so far is lost with it.
bool OverviewPage::mayClose() {
  if (!services_.update.state().runs || mayEndUpdate_) {
    return true;
  }
  if (!std::exchange(isAsking_, true)) {
    Question question;
    question.text = text("OVERVIEW_CLOSE_QUESTION");
    question.detail = text("OVERVIEW_CLOSE_DETAIL");
    question.buttons = {text("OVERVIEW_CLOSE_STOP"), text("OVERVIEW_CLOSE_STAY")};
    window_.ask(question, [this](std::size_t answer) {
      isAsking_ = false;
      if (answer == 0) {
        // Others may have something to ask as well.
        mayEndUpdate_ = true;
        window_.close();
      }
    });
  }
  return false;
}

std::string OverviewPage::text(const std::string& key) const {
  return services_.strings.stringForKey(key, "");
}

}  // namespace quillo
