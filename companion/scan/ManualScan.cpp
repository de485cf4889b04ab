#include "companion/scan/ManualScan.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <system_error>
#include <utility>

#include "platform/LocalizedStrings.h"
#include "platform/SystemLog.h"
#include "posix/FileFacts.h"
#include "posix/PlatformException.h"
#include "posix/RealPath.h"
#include "posix/Text.h"
#include "posix/ThreadStarter.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

using namespace std::chrono_literals;

using Whereabouts = Verdict::Whereabouts;

// How current engines word that nobody answers.
constexpr std::string_view daemonUnreachable = "ERROR: Could not connect to clamd";
// A small file costs as much as so many bytes.
constexpr std::uint64_t bytesOfAFile = 65536;
// What is worth to be said of the time that is left.
constexpr Clock::Duration leastWork = 5s;
constexpr std::size_t filesOfAMove = 500;

class QUILLO_SCOPED_CAPABILITY Hold {
 public:
  explicit Hold(Condition& condition) QUILLO_ACQUIRE(condition) : condition_(condition) {
    condition_.lock();
  }
  ~Hold() QUILLO_RELEASE() { condition_.unlock(); }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

 private:
  Condition& condition_;
};

// execve(2): strings and pointers share the room with the environment.
bool isBeyondACommandLine(const std::vector<std::string>& paths) {
  std::size_t bytes = 4096;
  for (const std::string& path : paths) {
    bytes += path.size() + 1 + sizeof(char*);
  }
  for (char** variable = environ; *variable != nullptr; ++variable) {
    bytes += std::string_view(*variable).size() + 1 + sizeof(char*);
  }
  const long most = sysconf(_SC_ARG_MAX);
  return most > 0 && bytes > static_cast<std::size_t>(most);
}

std::string quarantineOf(const TypedPreferences& preferences) {
  const std::string folder = preferences.value(key::quarantineFolder).value_or("");
  return folder.starts_with('/') ? RealPath(folder).path() : "";
}

std::uint64_t costOf(std::uint64_t files, std::uint64_t bytes) {
  return files * bytesOfAFile + bytes;
}

}  // namespace

ManualScan::ManualScan(const ManualScanServices& services, ManualScanObserver& observer,
                       ScanHistory* history)
    : services_(services),
      observer_(observer),
      history_(history),
      clock_(services.clock),
      ended_(services.clock) {}

void ManualScan::run(const std::vector<std::string>& paths) { perform(paths, std::nullopt); }

void ManualScan::moveAway(const std::vector<std::string>& files, InfectedFileAction action) {
  perform(files, action);
}

void ManualScan::perform(const std::vector<std::string>& paths,
                         std::optional<InfectedFileAction> action) {
  struct Ended {
    ManualScan& scan;
    Problem problem = Problem::failed;
    ~Ended() { scan.end(problem); }
  } ended{*this};
  quarantine_ = quarantineOf(services_.preferences);
  if (history_) {
    history_->runBegan(paths);
  }
  QuietSurroundings around(services_, clock_, action);
  if (around.lacksQuarantine()) {
    ended.problem = Problem::noQuarantine;
    return;
  }
  ScannerServices services = around.scannerServices(*this);
  services.pipelineObserver = this;
  services.progressObserver = this;
  services.reportLines = this;
  services.runningScanners = &running_;
  Scanner scanner(around, services);
  if (action) {
    moveFound(scanner, around, paths);
  } else if (isBeyondACommandLine(paths)) {
    ended.problem = Problem::tooMany;
    return;
  } else {
    scanChosen(scanner, around, paths);
  }
  ended.problem = problemOf(around);
}

void ManualScan::scanChosen(Scanner& scanner, QuietSurroundings& around,
                            const std::vector<std::string>& paths) {
  // The scanner would take a name like "--option" for one.
  std::vector<std::string> chosen;
  for (const std::string& path : paths) {
    if (path.starts_with('/')) {
      chosen.push_back(path);
    } else {
      reportLeftOut(path, "SCAN_REASON_RELATIVE");
    }
  }
  startCounting(chosen);
  ScanItemList items = {around.parameters(), static_cast<ScannerMenu*>(&around)};
  items.insert(items.end(), chosen.begin(), chosen.end());
  try {
    scanner.scan(items);
    reportDropped(chosen, items);
  } catch (const StoppableClock::Stopped&) {
    services_.systemLog.log("A scan was stopped before it began");
  }
}

void ManualScan::moveFound(Scanner& scanner, QuietSurroundings& around,
                           const std::vector<std::string>& files) {
  // It waited for them when they were found; without paths it only takes its arguments.
  ScanItemList none = {around.parameters(), static_cast<ScannerMenu*>(&around)};
  scanner.scan(none);
  for (auto next = files.begin(); next != files.end() && !clock_.isStopped();) {
    const auto left = static_cast<std::size_t>(files.end() - next);
    const auto behind = next + static_cast<std::ptrdiff_t>(std::min(left, filesOfAMove));
    scanner.performScan({next, behind});
    next = behind;
  }
}

void ManualScan::startCounting(const std::vector<std::string>& paths) {
  {
    Hold hold(ended_);
    hasFolders_ = std::any_of(paths.begin(), paths.end(), [](const std::string& path) {
      const auto facts = fileFacts(path);
      return facts && facts->isDirectory;
    });
  }
  try {
    services_.threads.detachNewThread("scan count",
                                      [count = count_, paths] { count->count(paths); });
  } catch (const std::system_error& problem) {
    services_.systemLog.log(std::string("Nobody counts what is to be scanned: ") + problem.what());
  }
}

// What the scanner leaves out on its own and without a word: files that are empty or gone, and
// files given one by one where patterns choose.
void ManualScan::reportDropped(const std::vector<std::string>& given, const ScanItemList& scanned) {
  std::set<std::string> taken;
  for (const ScanItem& item : scanned) {
    taken.insert(std::get<std::string>(item));
  }
  for (const std::string& path : given) {
    const auto facts = fileFacts(path);
    if (clock_.isStopped() || taken.count(path) > 0 || (facts && facts->isDirectory)) {
      continue;
    }
    reportLeftOut(path, !facts             ? "SCAN_REASON_GONE"
                        : facts->size == 0 ? "SCAN_REASON_EMPTY"
                                           : "SCAN_REASON_PATTERNS");
  }
}

void ManualScan::reportLeftOut(const std::string& path, const char* reason) {
  Verdict verdict;
  verdict.kind = Verdict::Kind::notScanned;
  verdict.path = path;
  verdict.reason = services_.localizedStrings.stringForKey(reason, "");
  {
    Hold hold(ended_);
    ++dropped_;
  }
  verdictGiven(verdict);
}

ManualScan::Problem ManualScan::problemOf(const QuietSurroundings& around) {
  Hold hold(ended_);
  if (around.hasNoEngine()) {
    return Problem::noEngine;
  }
  if (clock_.isStopped()) {
    return Problem::none;
  }
  return isDaemonGone_ ? Problem::noDaemon : runs_ > 0 ? Problem::failed : Problem::none;
}

ManualScanResult ManualScan::resultOf(Problem problem) {
  Hold hold(ended_);
  ManualScanResult result;
  const ScanProgress& counted = hasProgress_ ? progress_ : lines_;
  if (hasProgress_ || !hasFolders_) {
    result.clean = counted.clean;
  }
  result.cleanBytes = counted.cleanBytes;
  // What was said of files one by one is never more than what is true; it may be later. Every find
  // has a line.
  result.allowed = allowed_;
  result.inQuarantine = inQuarantine_;
  result.found = std::max(counted.found, lines_.found) - allowed_ - inQuarantine_;
  result.notScanned =
      std::max(counted.notScanned + (hasProgress_ ? dropped_ : 0), lines_.notScanned);
  result.isStopped = clock_.isStopped();
  result.problem = problem;
  if (!result.wentToItsEnd()) {
    const FileCount::Sum all = count_->sum();
    const std::uint64_t done = result.clean.value_or(0) + result.found + result.allowed +
                               result.inQuarantine + result.notScanned;
    result.notReached = all.isWhole && result.clean
                            ? std::optional(all.files - std::min(all.files, done))
                            : std::nullopt;
  }
  return result;
}

void ManualScan::end(Problem problem) {
  ManualScanResult result = resultOf(problem);
  result.lacksDefinitions =
      result.wentToItsEnd() && services_.lacksDefinitions && services_.lacksDefinitions();
  count_->stop();
  if (history_) {
    history_->runEnded(result);
  }
  setPhase(Phase::ended);
  observer_.ended(result);
  Hold hold(ended_);
  isOver_ = true;
  ended_.signal();
}

bool ManualScan::awaitEnd(Clock::Duration atMost) {
  const Clock::Duration deadline = clock_.now() + atMost;
  Hold hold(ended_);
  for (;;) {
    const Clock::Duration left = deadline - clock_.now();
    if (isOver_ || left <= Clock::Duration::zero()) {
      return isOver_;
    }
    ended_.waitFor(left);
  }
}

void ManualScan::setPhase(Phase phase) {
  Hold hold(ended_);
  if (phase_ == Phase::ended || (phase_ == Phase::stopping && phase != Phase::ended)) {
    return;
  }
  const bool works = phase == Phase::scanning || phase == Phase::pausing;
  const Clock::Duration now = clock_.now();
  if (!works && workingSince_) {
    worked_ += now - *std::exchange(workingSince_, std::nullopt);
  } else if (works && !workingSince_) {
    workingSince_ = now;
  }
  phase_ = phase;
}

void ManualScan::pause() {
  if (state().phase == Phase::scanning && state().canPause) {
    setPhase(Phase::pausing);
    running_.signalAll(SIGTSTP);
  }
}

void ManualScan::resume() {
  const Phase phase = state().phase;
  if (phase == Phase::pausing || phase == Phase::paused) {
    setPhase(Phase::scanning);
    running_.signalAll(SIGCONT);
  }
}

void ManualScan::stop() {
  if (state().phase != Phase::ended) {
    setPhase(Phase::stopping);
    clock_.stop();
    running_.endAllForGood();
  }
}

ManualScanState ManualScan::state() {
  ManualScanState state;
  state.all = count_->sum();
  Hold hold(ended_);
  state.phase = phase_;
  state.progress = hasProgress_ ? progress_ : lines_;
  state.canPause = hasProgress_ && phase_ != Phase::stopping && phase_ != Phase::ended;
  const Clock::Duration worked =
      worked_ + (workingSince_ ? clock_.now() - *workingSince_ : Clock::Duration());
  const std::uint64_t done = costOf(state.progress.files(), state.progress.bytes);
  const std::uint64_t all = costOf(state.all.files, state.all.bytes);
  if (state.all.isWhole && hasProgress_ && worked >= leastWork && done > 0 && all >= done) {
    const double share = static_cast<double>(all - done) / static_cast<double>(done);
    state.left =
        std::chrono::ceil<std::chrono::seconds>(std::chrono::duration<double>(worked) * share);
  }
  return state;
}

void ManualScan::runBegan(std::size_t) {
  {
    Hold hold(ended_);
    ++runs_;
  }
  if (!clock_.isStopped()) {
    setPhase(Phase::scanning);
  }
  observer_.advanced();
}

void ManualScan::scanEnded(const std::vector<std::string>&, int status) {
  // The scanner's own: clean, found, and errors that it has named.
  if (status >= 0 && status <= 2) {
    Hold hold(ended_);
    --runs_;
  }
}

// By the file itself: a link says nothing, neither one in the quarantine nor one that leads there.
bool ManualScan::liesInQuarantine(const Verdict& verdict) const {
  const bool isAboutFind =
      verdict.kind == Verdict::Kind::notMoved ||
      (verdict.kind == Verdict::Kind::infected && verdict.whereabouts != Whereabouts::moved);
  return isAboutFind && !quarantine_.empty() &&
         liesBelow(RealPath(verdict.file()).path(), quarantine_);
}

void ManualScan::verdictGiven(const Verdict& verdict) {
  const bool isFind = verdict.kind == Verdict::Kind::infected;
  const bool isKnown = liesInQuarantine(verdict);
  const bool isLeftOut = verdict.kind == Verdict::Kind::notScanned;
  {
    Hold hold(ended_);
    lines_.clean += verdict.kind == Verdict::Kind::clean ? 1 : 0;
    lines_.found += isFind ? 1 : 0;
    inQuarantine_ += isFind && isKnown ? 1 : 0;
    allowed_ += isFind && !isKnown && verdict.isSpared ? 1 : 0;
    lines_.notScanned += isLeftOut ? 1 : 0;
    lines_.path = verdict.path;
  }
  if (isKnown) {
    return;
  }
  const bool isOutcome =
      verdict.kind == Verdict::Kind::moved || verdict.kind == Verdict::Kind::notMoved;
  if (history_ && (isFind || isOutcome || isLeftOut)) {
    history_->verdict(verdict);
  }
  observer_.verdict(verdict);
}

void ManualScan::progressed(const ScanProgress& progress) {
  bool hasPaused = false;
  {
    Hold hold(ended_);
    progress_ = progress;
    hasProgress_ = true;
    // A pause that was over before it took hold may still be said.
    hasPaused = progress.holds && phase_ == Phase::pausing;
  }
  if (hasPaused) {
    setPhase(Phase::paused);
  }
  observer_.advanced();
}

void ManualScan::reportLine(const std::string& line) {
  if (std::string_view(line).starts_with(daemonUnreachable)) {
    Hold hold(ended_);
    isDaemonGone_ = true;
  }
}

}  // namespace quillo
