#include "companion/HelpPage.h"

#include <algorithm>
#include <array>
#include <exception>
#include <utility>

#include "platform/Application.h"
#include "platform/Page.h"
#include "platform/Workspace.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

using State = HelpFinding::State;

constexpr std::array limitKeys = {
    "HELP_LIMIT_AFTERWARDS", "HELP_LIMIT_DEFINITIONS", "HELP_LIMIT_LARGE",  "HELP_LIMIT_EMPTY",
    "HELP_LIMIT_NETWORK",    "HELP_LIMIT_FOREIGN",     "HELP_LIMIT_HELPER", "HELP_LIMIT_SUBFOLDERS",
    "HELP_LIMIT_DAEMONS",    "HELP_LIMIT_WARNING",     "HELP_LIMIT_RUNS_ON"};

}  // namespace

const std::vector<MendingPlace>& mendingPlaces() {
  static const std::vector<MendingPlace> places = {
      {"HELP_SAYS_FOUND", "HELP_AT_RESULTS", "results"},
      {"HELP_SAYS_QUARANTINED", "HELP_AT_QUARANTINE", "quarantine"},
      {"HELP_SAYS_RECHECKED", "HELP_AT_QUARANTINE", "quarantine"},
      {"HELP_SAYS_NOT_MOVED", "HELP_AT_RESULTS", "results"},
      {"HELP_SAYS_TOO_LARGE", "HELP_AT_RESULTS", "results"},
      {"HELP_SAYS_NO_ENGINE", "HELP_AT_OVERVIEW", "overview"},
      {"HELP_SAYS_DEFINITIONS", "HELP_AT_OVERVIEW", "overview"},
      {"HELP_SAYS_HELPER", "HELP_AT_HELP", "help"},
      {"HELP_SAYS_FOLDER_MISSING", "HELP_AT_FOLDERS", "folders"},
      {"HELP_SAYS_FOLDER_INCOMPLETE", "HELP_AT_FOLDERS", "folders"},
      {"HELP_SAYS_PREFERENCES", "HELP_AT_SETTINGS", "settings"},
      {"HELP_SAYS_NO_ICON", "HELP_AT_SETTINGS", "settings"}};
  return places;
}

struct HelpPage::Findings final : TableRows {
  std::size_t count() override { return findings.size(); }
  Row row(std::size_t row) override {
    const HelpFinding& finding = findings.at(row);
    return {{finding.subject, finding.words, finding.remedy},
            finding.state == State::good      ? Sign::good
            : finding.state == State::unknown ? Sign::none
                                              : Sign::warning};
  }
  std::vector<HelpFinding> findings;
};

struct HelpPage::Places final : TableRows {
  explicit Places(LocalizedStrings& given) : strings(given) {}
  std::size_t count() override { return mendingPlaces().size(); }
  Row row(std::size_t row) override {
    const MendingPlace& place = mendingPlaces().at(row);
    return {{strings.stringForKey(place.said, ""), strings.stringForKey(place.where, "")}};
  }
  LocalizedStrings& strings;
};

HelpPage::HelpPage(Page& page, MainWindow& window, const HelpPageServices& services)
    : page_(page),
      window_(window),
      services_(services),
      findings_(std::make_shared<Findings>()),
      test_(page, services.selfTest) {
  page_.setRows("findings", {text("HELP_SUBJECT"), text("HELP_FINDING"), text("HELP_REMEDY")},
                findings_);
  page_.setRows("places", {text("HELP_SAYS"), text("HELP_WHERE")},
                std::make_shared<Places>(services_.localizedStrings));
  const auto openPlace = [this] {
    const auto rows = page_.selectedRows("places");
    if (rows.size() == 1 && rows[0] < mendingPlaces().size()) {
      goTo(mendingPlaces()[rows[0]].page);
    }
  };
  page_.onAction("places", openPlace);
  page_.onAction("openPlace", openPlace);
  page_.setEnabled("openPlace", false);
  page_.onSelection("places", [this] {
    page_.setEnabled("openPlace", page_.selectedRows("places").size() == 1);
  });
  connectFindings();
  connectLog("openScanLog", services_.scanLog);
  connectLog("openUpdateLog", services_.updateLog);
  page_.setText("findingsState", text("HELP_NOT_EXAMINED"));
  page_.setVisible("logProblem", false);
  // Whoever is led here for something that is wrong finds that looked at.
  window_.onShown("help", [this] {
    refresh();
    lookForProblems();
  });
  showLimits();
  refresh();
}

void HelpPage::connectFindings() {
  page_.onAction("examine", [this] { examine(); });
  page_.onSelection("findings", [this] { showChosen(); });
  page_.onAction("copyCommand", [this] {
    if (const HelpFinding* finding = chosen()) {
      window_.copy(finding->command);
    }
  });
  page_.onAction("openFinding", [this] {
    if (const HelpFinding* finding = chosen()) {
      window_.show(finding->page);
    }
  });
  showChosen();
}

const HelpFinding* HelpPage::chosen() const {
  const auto rows = page_.selectedRows("findings");
  return rows.size() == 1 && rows[0] < findings_->findings.size() ? &findings_->findings[rows[0]]
                                                                  : nullptr;
}

// A cell of the table has one line.
void HelpPage::showChosen() {
  const HelpFinding* finding = chosen();
  const HelpFinding shown = finding ? *finding : HelpFinding();
  page_.setText("chosen", shown.words + (shown.remedy.empty() ? "" : "\n" + shown.remedy));
  page_.setVisible("chosen", finding != nullptr);
  page_.setVisible("copyCommand", !shown.command.empty());
  page_.setVisible("openFinding", !shown.page.empty());
}

void HelpPage::goTo(const std::string& page) {
  if (page == "help") {
    lookForProblems();
  } else {
    window_.show(page);
  }
}

void HelpPage::lookForProblems() {
  constexpr std::int64_t problems = 0;
  page_.setNumber("tabs", problems);
  examine();
}

std::string HelpPage::text(const std::string& key) const {
  return services_.localizedStrings.stringForKey(key, "");
}

void HelpPage::showLimits() {
  std::string limits;
  for (const char* key : limitKeys) {
    limits += (limits.empty() ? "• " : "\n\n• ") + text(key);
  }
  page_.setText("limits", limits);
}

void HelpPage::refresh() {
  const std::string scanLog = services_.scanLog();
  const std::string updateLog = services_.updateLog();
  page_.setEnabled("openScanLog", !scanLog.empty());
  page_.setEnabled("openUpdateLog", !updateLog.empty());
  page_.setText("logPlaces", scanLog + (updateLog.empty() ? "" : "\n") + updateLog);
  page_.setText("versions", services_.versions());
}

void HelpPage::connectLog(const char* button, const std::function<std::string()>& log) {
  page_.onAction(button, [this, log] {
    const std::string path = log();
    const bool isOpened = !path.empty() && services_.workspace.openFile(path);
    page_.setVisible("logProblem", !isOpened);
    page_.setText("logProblem",
                  isOpened ? std::string()
                           : Wording{"HELP_LOG_NOT_OPENED", {path}}.in(services_.localizedStrings));
  });
}

void HelpPage::examine() {
  if (std::exchange(isExamining_, true)) {
    return;
  }
  page_.setEnabled("examine", false);
  page_.setText("findingsState", text("HELP_EXAMINING"));
  const auto body = [this, examine = services_.examine(), &application = services_.application,
                     life = std::weak_ptr<const bool>(life_)] {
    std::vector<HelpFinding> found;
    try {
      found = examine();
    } catch (const std::exception& failure) {
      found = {{State::unknown, "", failure.what(), ""}};
    }
    application.performOnMainThread([this, life, found] {
      if (!life.expired()) {
        showFindings(found);
      }
    });
  };
  try {
    services_.threads.detachNewThread("examine", body);
  } catch (const std::exception& failure) {
    showFindings({{State::unknown, "", failure.what(), ""}});
  }
}

void HelpPage::showFindings(const std::vector<HelpFinding>& findings) {
  isExamining_ = false;
  findings_->findings = findings;
  page_.rowsChanged("findings");
  const auto worst = std::find_if(findings.begin(), findings.end(), [](const HelpFinding& each) {
    return each.state == State::problem;
  });
  if (worst != findings.end()) {
    page_.selectRow("findings", static_cast<std::size_t>(worst - findings.begin()));
  }
  showChosen();
  page_.setEnabled("examine", true);
  const auto has = [&findings](State state) {
    return std::any_of(findings.begin(), findings.end(),
                       [state](const HelpFinding& finding) { return finding.state == state; });
  };
  page_.setText("findingsState", text(has(State::problem)   ? "HELP_HAS_PROBLEMS"
                                      : has(State::unknown) ? "HELP_NOT_ALL_KNOWN"
                                      : has(State::warning) ? "HELP_HAS_WARNINGS"
                                                            : "HELP_ALL_WELL"));
}

}  // namespace quillo
