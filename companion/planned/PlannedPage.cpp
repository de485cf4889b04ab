#include "companion/planned/PlannedPage.h"

#include <array>
#include <cstdio>
#include <system_error>
#include <utility>

#include "platform/Application.h"
#include "platform/LocalizedStrings.h"
#include "platform/Page.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

using Often = PlannedScan::Often;

std::string foldersInWords(const PlannedScan& scan, LocalizedStrings& strings) {
  std::string result;
  for (const std::string& folder : scan.folders) {
    result += (result.empty() ? "" : ", ") + folder;
  }
  if (!scan.isUnderstood) {
    const bool isByOther = !result.empty() && !scan.otherProgram.empty();
    return isByOther ? Wording{"PLANNED_BY_OTHER", {result, scan.otherProgram}}.in(strings)
                     : strings.stringForKey("PLANNED_NOT_UNDERSTOOD", "");
  }
  return result;
}

}  // namespace

std::string timesInWords(const PlannedScan& scan, LocalizedStrings& strings) {
  std::array<char, 16> time = {};
  std::snprintf(time.data(), time.size(), "%02d:%02d", scan.hour, scan.minute);
  switch (scan.often) {
    case Often::daily:
      return Wording{"PLANNED_WHEN_DAILY", {time.data()}}.in(strings);
    case Often::weekly:
      return Wording{"PLANNED_WHEN_WEEKLY",
                     {strings.stringForKey(keyOfWeekday(scan.day), ""), time.data()}}
          .in(strings);
    case Often::monthly:
      return Wording{"PLANNED_WHEN_MONTHLY", {std::to_string(scan.day), time.data()}}.in(strings);
    default:
      return scan.calendar;
  }
}

// What is planned, as the table shows it.
struct PlannedPage::Rows final : TableRows {
  explicit Rows(const PlannedPageServices& given) : services(given) {}
  std::size_t count() override { return scans.size(); }
  Row row(std::size_t row) override {
    const PlannedScan& scan = scans.at(row);
    LocalizedStrings& strings = services.localizedStrings;
    const auto time = [&](std::int64_t when, const char* never) {
      return when > 0 ? services.timeInWords(when) : strings.stringForKey(never, "");
    };
    const std::string times = timesInWords(scan, strings);
    return {{foldersInWords(scan, strings),
             scan.onlyOnMains ? Wording{"PLANNED_ON_MAINS", {times}}.in(strings) : times,
             time(scan.lastRun, "PLANNED_NOT_YET"),
             scan.isActive ? time(scan.nextRun, "PLANNED_NOT_KNOWN")
                           : strings.stringForKey("PLANNED_OFF", "")},
            scan.isActive && scan.isUnderstood ? Sign::none : Sign::warning};
  }
  const PlannedPageServices services;
  std::vector<PlannedScan> scans;
};

PlannedPage::PlannedPage(Page& page, MainWindow& window, const PlannedPageServices& services)
    : page_(page),
      window_(window),
      services_(services),
      rows_(std::make_shared<Rows>(services)),
      editor_(page, window, services.localizedStrings) {
  std::vector<std::string> titles;
  for (const char* key :
       {"PLANNED_FOLDERS", "PLANNED_TIMES", "PLANNED_LAST_RUN", "PLANNED_NEXT_RUN"}) {
    titles.push_back(services_.localizedStrings.stringForKey(key, ""));
  }
  page_.setRows("plans", titles, rows_);
  connect();
  page_.setVisible("none", false);
  showState({});
  showButtons();
}

void PlannedPage::connect() {
  page_.onSelection("plans", [this] { showButtons(); });
  page_.onAction("plans", [this] {
    if (const PlannedScan* scan = selected()) {
      edit(*scan);
    }
  });
  page_.onAction("add", [this] { planFolders({}); });
  page_.onAction("change", [this] {
    if (const PlannedScan* scan = selected()) {
      edit(*scan);
    }
  });
  page_.onAction("remove", [this] { askToRemove(); });
  page_.onAction("runNow", [this] {
    if (const PlannedScan* scan = selected()) {
      change([&plans = services_.plannedScans, id = scan->id] { return plans.runNow(id); },
             scan->onlyOnMains ? "PLANNED_STARTED_ON_MAINS" : "PLANNED_STARTED");
    }
  });
  page_.onAction("save", [this] { save(); });
  window_.onShown("planned", [this] { refresh(); });
  page_.onDrop("plans", [this](const std::vector<std::string>& folders) { planFolders(folders); });
}

const PlannedScan* PlannedPage::selected() const {
  const auto rows = page_.selectedRows("plans");
  return rows.size() == 1 && rows[0] < rows_->scans.size() ? &rows_->scans[rows[0]] : nullptr;
}

void PlannedPage::showButtons() {
  const PlannedScan* scan = selected();
  for (const char* button : {"change", "remove", "runNow"}) {
    page_.setEnabled(button, scan != nullptr && !isBusy_);
  }
  page_.setEnabled("add", !isBusy_);
  page_.setEnabled("save", !isBusy_);
}

void PlannedPage::showState(const Wording& words) {
  page_.setVisible("state", !words.empty());
  page_.setText("state", words.in(services_.localizedStrings));
}

void PlannedPage::planFolders(const std::vector<std::string>& folders) {
  PlannedScan scan;
  scan.folders = folders;
  edit(scan);
}

void PlannedPage::edit(const PlannedScan& scan) {
  showState({});
  editor_.open(scan);
}

void PlannedPage::refresh() {
  const auto listing = std::make_shared<PlannedScans::Listing>();
  inBackground([&plans = services_.plannedScans, listing] { *listing = plans.list(); },
               [this, listing] { show(*listing); });
}

void PlannedPage::show(const PlannedScans::Listing& listing) {
  const PlannedScan* before = selected();
  const std::string id = before != nullptr ? before->id : "";
  rows_->scans = listing.scans;
  page_.rowsChanged("plans");
  for (std::size_t row = 0; row < rows_->scans.size(); ++row) {
    if (!id.empty() && rows_->scans[row].id == id) {
      page_.selectRow("plans", row);
    }
  }
  page_.setVisible("none", listing.scans.empty() && listing.problem.empty());
  if (!listing.problem.empty()) {
    showState(listing.problem);
  }
  showButtons();
}

void PlannedPage::save() {
  const PlannedScan scan = editor_.scan();
  if (scan.folders.empty()) {
    editor_.showProblem(services_.localizedStrings.stringForKey("PLANNED_NO_FOLDERS", ""));
    page_.focus("addFolder");
    return;
  }
  change([&plans = services_.plannedScans, scan] { return plans.put(scan); }, "PLANNED_SAVED");
}

void PlannedPage::askToRemove() {
  const PlannedScan* scan = selected();
  if (scan == nullptr) {
    return;
  }
  LocalizedStrings& strings = services_.localizedStrings;
  const Question question = {strings.stringForKey("PLANNED_REMOVE_QUESTION", ""),
                             foldersInWords(*scan, strings) + "\n" + timesInWords(*scan, strings),
                             {strings.stringForKey("PLANNED_REMOVE_YES", ""),
                              strings.stringForKey("PLANNED_REMOVE_NO", "")},
                             true};
  window_.ask(question, [this, id = scan->id](std::size_t button) {
    if (button == 0) {
      change([&plans = services_.plannedScans, id] { return plans.remove(id); }, "PLANNED_REMOVED");
    }
  });
}

void PlannedPage::change(const std::function<Wording()>& work, const std::string& done) {
  const auto problem = std::make_shared<Wording>();
  const auto listing = std::make_shared<PlannedScans::Listing>();
  inBackground(
      [&plans = services_.plannedScans, work, problem, listing] {
        *problem = work();
        *listing = plans.list();
      },
      [this, problem, listing, done] {
        const bool wasSaved = done == "PLANNED_SAVED";
        if (problem->empty() && wasSaved) {
          editor_.close();
        }
        showState(problem->empty() ? Wording{done} : *problem);
        if (wasSaved && editor_.isOpen()) {
          editor_.showProblem(problem->in(services_.localizedStrings));
        }
        show(*listing);
      });
}

void PlannedPage::inBackground(std::function<void()> work, std::function<void()> then) {
  if (isBusy_) {
    next_ = [this, work = std::move(work), then = std::move(then)] { inBackground(work, then); };
    return;
  }
  isBusy_ = true;
  showButtons();
  try {
    services_.threads.detachNewThread(
        "planned", [this, work = std::move(work), then = std::move(then),
                    &application = services_.application, life = std::weak_ptr<const bool>(life_)] {
          work();
          application.performOnMainThread([this, then, life] {
            if (!life.expired()) {
              isBusy_ = false;
              then();
              showButtons();
              if (const auto next = std::exchange(next_, nullptr)) {
                next();
              }
            }
          });
        });
  } catch (const std::system_error& failure) {
    isBusy_ = false;
    showState({"PLANNED_REFUSED", {failure.what()}});
    showButtons();
  }
}

}  // namespace quillo
