#include "companion/scan/ScanPage.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "platform/AgentLink.h"
#include "platform/Application.h"
#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "platform/SystemLog.h"
#include "platform/Volumes.h"
#include "posix/MountTable.h"
#include "posix/Text.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

constexpr Clock::Duration longestEnd = std::chrono::seconds(5);

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += (text.empty() ? "" : "\n") + line;
  }
  return text;
}

}  // namespace

std::vector<std::string> pluggedInVolumes(Volumes& volumes) {
  std::vector<std::string> points;
  for (const Mount& mount : MountTable().read().value_or(std::vector<Mount>())) {
    const bool isPluggedIn = liesBelow(mount.point, "/media") ||
                             liesBelow(mount.point, "/run/media") ||
                             liesBelow(mount.point, "/Volumes") || liesBelow(mount.point, "/mnt");
    if (isPluggedIn && volumes.isVolumeRoot(mount.point)) {
      points.push_back(mount.point);
    }
  }
  std::sort(points.begin(), points.end());
  return points;
}

ScanPage::ScanPage(MainWindow& window, const ScanPageServices& services)
    : window_(window),
      page_(window.page("scan")),
      services_(services),
      words_(services.scan.localizedStrings),
      finds_(window, page_, services_,
             {[this](const std::vector<std::string>& files, InfectedFileAction action) {
                start(Work::move, files, action);
              },
              [this](const std::vector<std::string>& paths) { scan(paths); }}) {
  connect();
  page_.setText("report", "");
  showVolumes();
  showState();
}

ScanPage::~ScanPage() {
  services_.volumeChanges.stopObserving();
  if (feed_) {
    feed_->close();
  }
  if (scan_) {
    scan_->stop();
    // It may hang in a file system that does not answer: the thread has all that it uses, and ends
    // with the process.
    scan_->awaitEnd(longestEnd);
  }
}

void ScanPage::connect() {
  const auto take = [this](const std::vector<std::string>& paths) { scan(paths); };
  page_.onAction("chooseFiles", [this, take] {
    window_.chooseFiles(words_.text("SCAN_TITLE"), services_.scan.folders.homeFolder(), take);
  });
  page_.onAction("chooseFolders", [this, take] {
    window_.chooseFolders(words_.text("SCAN_TITLE"), services_.scan.folders.homeFolder(), take);
  });
  page_.onDrop("page", take);
  page_.onAction("scanVolume", [this] { scanVolume(); });
  page_.onAction("pause", [this] { pauseOrGoOn(); });
  page_.onAction("stop", [this] {
    next_.clear();
    if (scan_) {
      scan_->stop();
    }
    showState();
  });
  page_.onAction("startAgent", [this] { startAgent(); });
  page_.onAction("startWatching", [this] { startWatching_(); });
  page_.onAction("openSettings", [this] { window_.show("settings"); });
  page_.onAction("chooseQuarantine", [this] { window_.show("settings"); });
  page_.onAction("openHelp", [this] { window_.show("help"); });
  page_.onAction("scanAgain", [this] { scanAgain(); });
  services_.agent.observe([this, life = std::weak_ptr<const bool>(life_)] {
    if (!life.expired()) {
      agentChanged();
    }
  });
  window_.onShown("scan", [this] { showVolumes(); });
  services_.volumeChanges.observe([this] { showVolumes(); });
}

void ScanPage::scan(const std::vector<std::string>& paths) {
  window_.show("scan");
  next_.insert(next_.end(), paths.begin(), paths.end());
  if (work_ == Work::none && !next_.empty()) {
    finds_.findings().clear();
    asked_.clear();
    page_.selectRows("finds", {});
    page_.selectRows("leftOut", {});
    total_ = {};
    hasReport_ = false;
    startFailed_ = false;
    page_.setText("report", "");
    startNext();
  }
}

void ScanPage::scanAgain() { scan(std::vector(asked_)); }

void ScanPage::startNext() {
  asked_.insert(asked_.end(), next_.begin(), next_.end());
  start(Work::scan, std::exchange(next_, {}), InfectedFileAction::leaveInPlace);
}

void ScanPage::start(Work work, const std::vector<std::string>& paths, InfectedFileAction action) {
  feed_ = std::make_shared<ScanFeed>(services_.scan.application,
                                     [this](const ScanFeed::News& news) { take(news); });
  // The thread may still be in its last line when the page goes: what it uses goes with it.
  struct Running {
    Running(const std::shared_ptr<ScanFeed>& shared, const ManualScanServices& services,
            ScanHistory* history)
        : feed(shared), scan(services, *feed, history) {}
    const std::shared_ptr<ScanFeed> feed;
    ManualScan scan;
  };
  const auto running = std::make_shared<Running>(
      feed_, services_.scan, work == Work::scan ? services_.history : services_.moves);
  work_ = work;
  movedBefore_ = movedSoFar();
  moveProblem_ = ManualScanResult::Problem::none;
  try {
    services_.scan.threads.detachNewThread("manual scan", [running, work, paths, action] {
      if (work == Work::scan) {
        running->scan.run(paths);
      } else {
        running->scan.moveAway(paths, action);
      }
    });
    scan_ = std::shared_ptr<ManualScan>(running, &running->scan);
  } catch (const std::system_error& problem) {
    services_.scan.systemLog.log(std::string("A scan cannot begin: ") + problem.what());
    ManualScanResult failed;
    failed.problem = ManualScanResult::Problem::failed;
    takeResult(failed);
  }
  showState();
  finds_.show(work_ == Work::none);
}

void ScanPage::take(const ScanFeed::News& news) {
  for (const Verdict& verdict : news.verdicts) {
    finds_.findings().add(verdict);
  }
  if (news.result) {
    scan_.reset();
    takeResult(*news.result);
  }
  showState();
  if (!news.verdicts.empty() || news.result) {
    finds_.show(work_ == Work::none);
  }
}

void ScanPage::takeResult(const ManualScanResult& result) {
  feed_->close();
  if (std::exchange(work_, Work::none) == Work::move) {
    showMoved(result);
  } else {
    addToReport(result);
    showReport();
  }
  if (std::exchange(closesAfterwards_, false)) {
    // It may take this page with it.
    services_.scan.application.performOnMainThread([&window = window_] { window.close(); });
  } else if (!next_.empty()) {
    startNext();
  }
}

void ScanPage::addToReport(const ManualScanResult& result) {
  if (!std::exchange(hasReport_, true)) {
    total_ = result;
    return;
  }
  const auto sum = [](std::optional<std::uint64_t>& all, const std::optional<std::uint64_t>& more) {
    all = all && more ? std::optional<std::uint64_t>(*all + *more) : std::nullopt;
  };
  sum(total_.clean, result.clean);
  sum(total_.notReached, result.notReached);
  total_.found += result.found;
  total_.allowed += result.allowed;
  total_.inQuarantine += result.inQuarantine;
  total_.notScanned += result.notScanned;
  total_.isStopped = total_.isStopped || result.isStopped;
  total_.lacksDefinitions = total_.lacksDefinitions || result.lacksDefinitions;
  if (result.problem != ManualScanResult::Problem::none) {
    total_.problem = result.problem;
  }
}

void ScanPage::showReport() {
  page_.setText("report", joined(words_.report(total_)));
  page_.focus("report");
}

std::uint64_t ScanPage::movedSoFar() {
  const std::vector<ScanFinding>& finds = finds_.findings().finds()->findings();
  return static_cast<std::uint64_t>(std::count_if(
      finds.begin(), finds.end(),
      [](const ScanFinding& finding) { return finding.done == ScanFinding::Done::moved; }));
}

void ScanPage::showMoved(const ManualScanResult& result) {
  std::uint64_t left = 0;
  for (const ScanFinding& finding : finds_.findings().finds()->findings()) {
    left += finding.done == ScanFinding::Done::notMoved ? 1 : 0;
  }
  moveProblem_ = result.problem;
  std::vector<std::string> lines = {words_.counted("SCAN_MOVED", movedSoFar() - movedBefore_)};
  if (left > 0) {
    lines.push_back(words_.counted("SCAN_NOT_MOVED", left));
  }
  if (result.problem != ManualScanResult::Problem::none) {
    lines.push_back(words_.problem(result.problem));
  }
  page_.setText("report", joined(lines));
}

void ScanPage::showState() {
  const bool isAtWork = work_ != Work::none;
  const ManualScanState state = scan_ ? scan_->state() : ManualScanState();
  const bool pauses = state.phase == ManualScanState::Phase::pausing ||
                      state.phase == ManualScanState::Phase::paused;
  page_.setVisible("progressBox", isAtWork);
  page_.setVisible("report", !isAtWork && hasReport_);
  page_.setVisible("nothingYet", !isAtWork && !hasReport_);
  if (isAtWork) {
    page_.setText("state", words_.phase(state));
    page_.setText("progress", state.progress.files() > 0 ? words_.progress(state) : "");
    page_.setText("timeLeft", words_.timeLeft(state));
    page_.setText("currentPath", state.progress.path);
    const bool isKnown = state.all.isWhole && state.progress.files() <= state.all.files;
    page_.setProgress("bar", isKnown ? state.progress.files() : 0, isKnown ? state.all.files : 0);
  }
  page_.setText("pause", words_.text(pauses ? "SCAN_RESUME" : "SCAN_PAUSE"));
  page_.setEnabled("pause", isAtWork && state.canPause);
  page_.setEnabled("stop", isAtWork && state.phase != ManualScanState::Phase::stopping);
  showRemedies();
}

// Of a scan that did not go to its end for want of the daemon, which the agent starts.
void ScanPage::showRemedies() {
  using Problem = ManualScanResult::Problem;
  const bool isAtWork = work_ != Work::none;
  const bool lacksAgent =
      total_.problem == Problem::noDaemon || total_.problem == Problem::noEngine;
  const auto status = services_.agent.status();
  const bool watchesNot = status && status->state != "watching" && status->state != "starting";
  page_.setVisible("startAgent",
                   !isAtWork && lacksAgent && services_.agent.presence() == AgentPresence::absent);
  page_.setVisible("startWatching", !isAtWork && lacksAgent && watchesNot && startWatching_);
  page_.setVisible("openSettings", !isAtWork && (total_.problem == Problem::noEngine ||
                                                 moveProblem_ == Problem::noQuarantine));
  page_.setVisible("openHelp", !isAtWork && startFailed_);
  page_.setVisible("scanAgain", !isAtWork && hasReport_ && total_.problem != Problem::none);
}

void ScanPage::offerToWatch(std::function<void()> startWatching) {
  startWatching_ = std::move(startWatching);
  showRemedies();
}

void ScanPage::pauseOrGoOn() {
  if (!scan_) {
    return;
  }
  const ManualScanState::Phase phase = scan_->state().phase;
  if (phase == ManualScanState::Phase::scanning) {
    scan_->pause();
  } else {
    scan_->resume();
  }
  showState();
}

void ScanPage::showVolumes() {
  const std::size_t before = page_.choice("volumes");
  const std::string chosen = before < volumes_.size() ? volumes_[before] : "";
  volumes_ = services_.volumes();
  const auto found = std::find(volumes_.begin(), volumes_.end(), chosen);
  const auto place = static_cast<std::size_t>(found - volumes_.begin());
  page_.setChoices("volumes", volumes_, found == volumes_.end() ? 0 : place);
  page_.setVisible("volumesBox", !volumes_.empty());
}

void ScanPage::scanVolume() {
  if (const std::size_t chosen = page_.choice("volumes"); chosen < volumes_.size()) {
    scan({volumes_[chosen]});
  }
}

void ScanPage::startAgent() {
  awaitsAgent_ = services_.agent.start();
  startFailed_ = false;
  page_.setText("report", words_.text(awaitsAgent_ ? "SCAN_AGENT_STARTS" : "SCAN_AGENT_MISSING"));
}

void ScanPage::agentChanged() {
  const AgentStart start = services_.agent.lastStart();
  if (awaitsAgent_ && !start.isUnderWay) {
    awaitsAgent_ = false;
    startFailed_ = !start.problem.empty();
    if (!start.problem.empty() && work_ == Work::none) {
      LocalizedStrings& strings = services_.scan.localizedStrings;
      page_.setText("report",
                    Wording{"SCAN_AGENT_FAILED", {start.problem.in(strings)}}.in(strings));
    }
  }
  showRemedies();
}

bool ScanPage::mayClose() {
  if (work_ == Work::none) {
    return true;
  }
  if (!std::exchange(isAsking_, true)) {
    Question question;
    question.text = words_.text("SCAN_CLOSE_QUESTION");
    question.detail = words_.text("SCAN_CLOSE_DETAIL");
    question.buttons = {words_.text("SCAN_CLOSE_STOP"), words_.text("SCAN_CLOSE_STAY")};
    window_.ask(question, [this](std::size_t answer) {
      isAsking_ = false;
      if (answer != 0) {
        return;
      }
      if (!scan_) {
        window_.close();
        return;
      }
      next_.clear();
      closesAfterwards_ = true;
      scan_->stop();
    });
  }
  return false;
}

}  // namespace quillo
