#include "companion/planned/PlannedPage.h"

#include <algorithm>
#include <array>
#include <chrono>
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
    const std::string times = timesInWords(scan, strings);
    return {
        {foldersInWords(scan, strings),
         scan.onlyOnMains ? Wording{"PLANNED_ON_MAINS", {times}}.in(strings) : times, last(scan),
         scan.isActive ? time(scan.nextRun, "PLANNED_NOT_KNOWN")
                       : strings.stringForKey("PLANNED_OFF", "")},
        scan.isActive && scan.isUnderstood ? Sign::none : Sign::warning};
  }
  std::string time(std::int64_t when, const char* never) const {
    return when > 0 ? services.timeInWords(when)
                    : services.localizedStrings.stringForKey(never, "");
  }
  // The history knows what was really scanned, unless it was lost; the system only that something
  // was begun.
  std::string last(const PlannedScan& scan) const {
    if (scan.isRunning) {
      return services.localizedStrings.stringForKey("PLANNED_RUNS", "");
    }
    if (!known) {
      return time(scan.lastRun, "PLANNED_NOT_YET");
    }
    const auto found = known->find(scan.id);
    if (found == known->end()) {
      const std::string began = time(scan.lastRun, "PLANNED_NOT_YET");
      return scan.lastRun > 0
                 ? Wording{"PLANNED_END_NOT_KNOWN", {began}}.in(services.localizedStrings)
                 : began;
    }
    const ScanRun& run = found->second;
    const std::string began =
        services.timeInWords(std::chrono::system_clock::to_time_t(run.started));
    const bool wasWhole = run.ended && run.end == ScanRun::End::whole;
    return wasWhole ? began : Wording{"PLANNED_NOT_WHOLE", {began}}.in(services.localizedStrings);
  }
  const PlannedPageServices services;
  std::vector<PlannedScan> scans;
  std::optional<LastScans> known;
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
  page_.onAction("endNow", [this] {
    if (const PlannedScan* scan = selected()) {
      change([&plans = services_.plannedScans, id = scan->id] { return plans.end(id); },
             "PLANNED_ENDED");
    }
  });
  page_.onAction("save", [this] { save(); });
  window_.onShown("planned", [this] { refresh(); });
  services_.plannedScans.observe([this, life = std::weak_ptr<const bool>(life_)] {
    if (!life.expired() && window_.shownPage() == "planned") {
      refresh();
    }
  });
  page_.onDrop("plans", [this](const std::vector<std::string>& folders) { planFolders(folders); });
}

const PlannedScan* PlannedPage::selected() const {
  const auto rows = page_.selectedRows("plans");
  return rows.size() == 1 && rows[0] < rows_->scans.size() ? &rows_->scans[rows[0]] : nullptr;
}

void PlannedPage::showButtons() {
  const PlannedScan* scan = selected();
  const bool isRunning = scan != nullptr && scan->isRunning;
  page_.setEnabled("change", scan != nullptr && !isBusy_);
  // One that is no longer there could neither be seen nor ended.
  for (const char* button : {"remove", "runNow"}) {
    page_.setEnabled(button, scan != nullptr && !isBusy_ && !isRunning);
  }
  page_.setEnabled("endNow", isRunning && !isBusy_);
  page_.setEnabled("add", !isBusy_);
  page_.setEnabled("save", !isBusy_);
}

void PlannedPage::showState(const Wording& words) {
  said_ = words.in(services_.localizedStrings);
  page_.setVisible("state", !words.empty());
  page_.setText("state", said_);
}

void PlannedPage::planFolders(const std::vector<std::string>& folders) {
  edit({});
  editor_.add(folders);
}

void PlannedPage::edit(const PlannedScan& scan) {
  showState({});
  editor_.open(scan);
}

PlannedPage::Planned PlannedPage::look(const PlannedPageServices& services) {
  Planned planned{services.plannedScans.list(), {}};
  planned.last = services.lastScans(planned.listing.scans);
  return planned;
}

void PlannedPage::refresh() {
  const auto planned = std::make_shared<Planned>();
  add({[services = services_, planned] { *planned = look(services); },
       [this, planned] { show(*planned); }, true});
}

void PlannedPage::show(const Planned& planned) {
  const PlannedScan* before = selected();
  const std::string id = before != nullptr ? before->id : "";
  rows_->scans = planned.listing.scans;
  rows_->known = planned.last;
  page_.rowsChanged("plans");
  for (std::size_t row = 0; row < rows_->scans.size(); ++row) {
    if (!id.empty() && rows_->scans[row].id == id) {
      page_.selectRow("plans", row);
    }
  }
  page_.setVisible("none", planned.listing.scans.empty() && planned.listing.problem.empty());
  if (!planned.listing.problem.empty()) {
    showState(planned.listing.problem);
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
  if (changes_++ == 0) {
    showState({});
  }
  const auto problem = std::make_shared<Wording>();
  const auto planned = std::make_shared<Planned>();
  add({[services = services_, work, problem, planned] {
         *problem = work();
         *planned = look(services);
       },
       [this, problem, planned, done] {
         changed(*problem, done);
         show(*planned);
       }});
}

// Of several, what came of each is said.
void PlannedPage::changed(const Wording& problem, const std::string& done) {
  --changes_;
  const std::string words =
      (problem.empty() ? Wording{done} : problem).in(services_.localizedStrings);
  said_ += (said_.empty() ? "" : "\n") + words;
  page_.setVisible("state", true);
  page_.setText("state", said_);
  if (done == "PLANNED_SAVED" && editor_.isOpen()) {
    if (problem.empty()) {
      editor_.close();
    } else {
      editor_.showProblem(words);
    }
  }
}

void PlannedPage::add(Job job) {
  const bool isOneTooMany =
      job.isLook && std::any_of(waiting_.begin(), waiting_.end(),
                                [](const Job& waiting) { return waiting.isLook; });
  if (isOneTooMany) {
    return;
  }
  waiting_.push_back(std::move(job));
  if (!isBusy_) {
    beginNext();
  }
}

void PlannedPage::beginNext() {
  while (!isBusy_ && !waiting_.empty()) {
    Job job = std::move(waiting_.front());
    waiting_.pop_front();
    begin(std::move(job));
  }
}

void PlannedPage::begin(Job job) {
  isBusy_ = true;
  showButtons();
  const bool isLook = job.isLook;
  try {
    services_.threads.detachNewThread(
        "planned", [this, job = std::move(job), &application = services_.application,
                    life = std::weak_ptr<const bool>(life_)] {
          job.work();
          application.performOnMainThread([this, then = job.then, life] {
            if (!life.expired()) {
              isBusy_ = false;
              then();
              showButtons();
              beginNext();
            }
          });
        });
  } catch (const std::system_error& failure) {
    isBusy_ = false;
    const Wording problem = {"PLANNED_REFUSED", {failure.what()}};
    if (isLook) {
      showState(problem);
    } else {
      changed(problem, "");
    }
    showButtons();
  }
}

}  // namespace quillo
