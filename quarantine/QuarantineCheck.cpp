#include "quarantine/QuarantineCheck.h"

#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "clamav/Verdict.h"
#include "clamav/VerdictChannel.h"
#include "posix/ChildProcess.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"

namespace quillo {
namespace {

using Check = QuarantineRecord::Check;

using Why = QuarantineCheckResult::Checked::Why;

UniqueFd listInMemory(const QuarantineStore& store, const std::vector<QuarantinedFile>& files) {
  std::string text;
  for (const QuarantinedFile& file : files) {
    text.append(escapedPathLine(store.pathOf(file))).push_back('\n');
  }
  UniqueFd list(memfd_create("quarantine", MFD_CLOEXEC));
  if (!list || !writeAll(list.get(), text) || lseek(list.get(), 0, SEEK_SET) != 0) {
    throw PlatformException::ofSystemCall("ScanListFailure", "cannot keep a scan list in memory",
                                          errno);
  }
  return list;
}

// Ends a scanner that says nothing for too long, first by a request. epoll(7), timerfd_create(2).
class SilenceLimit {
 public:
  // `channel` is read besides, by `drain`.
  SilenceLimit(ChildProcess& scanner, std::chrono::milliseconds longest, int channel,
               std::function<bool()> drain)
      : scanner_(scanner),
        longest_(longest),
        channel_(channel),
        drain_(std::move(drain)),
        timer_(timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK)),
        events_(epoll_create1(EPOLL_CLOEXEC)) {
    watch(timer_.get());
    watch(channel_);
    beginAnew();
  }

  void beginAnew() {
    if (!hasEnded_) {
      setTimer(longest_);
    }
  }
  bool hasEnded() const { return hasEnded_; }
  ReadBesides besides() {
    return {events_.get(), [this] { return look(); }};
  }

 private:
  static constexpr std::chrono::milliseconds forItsEnd{5000};

  void watch(int descriptor) {
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.fd = descriptor;
    if (descriptor >= 0) {
      epoll_ctl(events_.get(), EPOLL_CTL_ADD, descriptor, &event);
    }
  }

  void setTimer(std::chrono::milliseconds length) {
    itimerspec time = {};
    time.it_value.tv_sec = length.count() / 1000;
    time.it_value.tv_nsec = length.count() % 1000 * 1000000;
    timerfd_settime(timer_.get(), 0, &time, nullptr);
  }

  bool look() {
    epoll_event event = {};
    while (epoll_wait(events_.get(), &event, 1, 0) == 1) {
      if (event.data.fd == timer_.get()) {
        end();
        break;
      }
      beginAnew();
      if (!drain_()) {
        epoll_ctl(events_.get(), EPOLL_CTL_DEL, channel_, nullptr);
      }
    }
    return true;
  }

  void end() {
    if (hasEnded_) {
      scanner_.endAtOnce();
      setTimer(std::chrono::milliseconds());
    } else {
      hasEnded_ = true;
      scanner_.terminate();
      setTimer(forItsEnd);
    }
  }

  ChildProcess& scanner_;
  const std::chrono::milliseconds longest_;
  const int channel_;
  const std::function<bool()> drain_;
  const UniqueFd timer_;
  const UniqueFd events_;
  bool hasEnded_ = false;
};

// Reads the report and keeps what it says of each file.
class Reading {
 public:
  Reading(const QuarantineStore& store, const std::vector<QuarantinedFile>& files)
      : verdicts_(VerdictReceiver::make()) {
    for (const QuarantinedFile& file : files) {
      byPath_.emplace(store.pathOf(file), result_.files.size());
      result_.files.push_back({file, Check::notScanned, "", false, Why::silence});
    }
  }

  void run(const std::string& scanner, int list, const QuarantineCheckCare& care) {
    LaunchRequest request{scanner,
                          {"--file-list=/dev/fd/3", "--multiscan", "--stdout", "--no-summary"}};
    request.descriptorThree = list;
    request.withItsChildren = true;
    if (verdicts_) {
      request.descriptorFour = verdicts_->scannersEnd();
      request.environment = environmentWith(verdictChannelVariable, "4");
    }
    ChildProcess child(request);
    const std::shared_ptr<void> held = care.hold ? care.hold(child) : nullptr;
    if (verdicts_) {
      verdicts_->letGo();
    }
    SilenceLimit limit(child, care.longestSilence, verdicts_ ? verdicts_->descriptor() : -1,
                       [this] { return verdicts_->drain(); });
    child.waitUntilExit(
        [this, &limit](std::string_view chunk) {
          limit.beginAnew();
          return take(chunk);
        },
        limit.besides());
    if (limit.hasEnded()) {
      throw PlatformException(PlatformException::Kind::failed, "ScannerSilence",
                              "the scanner said nothing any more and was ended");
    }
    while (take(child.availableData())) {
    }
    takeLine(pending_);
  }

  QuarantineCheckResult result() { return std::move(result_); }

 private:
  bool take(std::string_view chunk) {
    pending_ += chunk;
    for (std::size_t end = pending_.find('\n'); end != std::string::npos;
         end = pending_.find('\n')) {
      takeLine(pending_.substr(0, end));
      pending_.erase(0, end + 1);
    }
    return !chunk.empty();
  }

  void takeLine(const std::string& line) {
    if (line.empty()) {
      return;
    }
    const Verdict verdict = verdicts_ ? verdicts_->understand(line) : Verdict::parse(line);
    const auto found = byPath_.find(verdict.path);
    if (found == byPath_.end()) {
      return;
    }
    auto& checked = result_.files[found->second];
    checked.why = Why::said;
    switch (verdict.kind) {
      case Verdict::Kind::clean:
        checked.check = Check::clean;
        checked.detail.clear();
        break;
      case Verdict::Kind::infected:
        checked.check = Check::infected;
        checked.detail = verdict.threat;
        break;
      case Verdict::Kind::notScanned:
        checked.check = Check::notScanned;
        checked.detail = verdict.reason;
        break;
      default:
        break;
    }
  }

  std::optional<VerdictReceiver> verdicts_;
  std::unordered_map<std::string, std::size_t> byPath_;
  QuarantineCheckResult result_;
  std::string pending_;
};

// Whether it says anything that they find nothing in it.
bool knowBetter(QuarantineRecord::Time definitions, const QuarantinedFile& file) {
  return definitions > (file.hasRecord() ? file.record.foundBy() : QuarantineRecord::Time());
}

}  // namespace

std::size_t QuarantineCheckResult::count(QuarantineRecord::Check check) const {
  return static_cast<std::size_t>(std::count_if(
      files.begin(), files.end(), [check](const Checked& file) { return file.check == check; }));
}

QuarantineCheckResult checkQuarantine(const QuarantineStore& store, const std::string& scanner,
                                      const std::vector<QuarantinedFile>& files,
                                      QuarantineRecord::Time definitions,
                                      const QuarantineCheckCare& care) {
  Reading reading(store, files);
  std::string problem;
  if (!files.empty()) {
    try {
      const UniqueFd list = listInMemory(store, files);
      reading.run(scanner, list.get(), care);
    } catch (const PlatformException& failure) {
      problem = failure.reason();
    }
  }
  QuarantineCheckResult result = reading.result();
  result.problem = std::move(problem);
  for (auto& checked : result.files) {
    if (checked.check == Check::clean && !knowBetter(definitions, checked.file)) {
      checked.check = Check::notScanned;
      checked.why = Why::notNewer;
    }
    if (checked.check == Check::notScanned) {
      continue;
    }
    // One that has been exchanged or taken out meanwhile was not what was scanned.
    const auto noted = store.noteCheck(checked.file, checked.check, checked.detail, definitions);
    if (noted.reason == QuarantineOutcome::Reason::gone ||
        noted.reason == QuarantineOutcome::Reason::changed) {
      checked.check = Check::notScanned;
      checked.detail.clear();
      checked.why = Why::changed;
      continue;
    }
    checked.isNewlyClean = checked.check == Check::clean && !checked.file.isCleanByNow();
  }
  return result;
}

}  // namespace quillo
