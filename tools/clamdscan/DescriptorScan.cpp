#include "tools/clamdscan/DescriptorScan.h"

#include <algorithm>
#include <utility>

namespace quillo::wrapper {
namespace {

using namespace std::chrono_literals;

// One more answer is worth more than this many sessions.
constexpr int mostLosses = 5;
// Far less than anybody sees, and long for a daemon that has small files.
constexpr timespec betweenAnswers = {0, 1'000'000};
// As soon as anybody would miss it.
constexpr std::chrono::milliseconds betweenReports = 10ms;
// What cannot be scanned waits for its turn in the report, but not without limit.
constexpr std::size_t mostWaiting = 4096;

// Well below what loses a session. The daemon's configuration may be one that cannot be read.
Clock::Duration pauseFor(std::chrono::milliseconds silence) {
  return silence.count() == 0 ? 1500ms : std::clamp(silence / 4, 50ms, 1500ms);
}

// What the engine says of want that passes (cl_strerror() of libclamav 1.4).
bool isOfWant(std::string_view said) {
  return said == "Can't write to file" || said == "Can't create new file" ||
         said == "Can't create temporary file" || said == "Can't create temporary directory" ||
         said == "Can't allocate memory";
}

Answer unanswered(const std::string& reason, bool daemonHadIt) {
  using Gone = Verdict::DaemonGone;
  return {Answer::Kind::notScanned, reason, Verdict::Limit::none,
          daemonHadIt ? Gone::meanwhile : Gone::before};
}

}  // namespace

DescriptorScan::DescriptorScan(DaemonLink& link, const Starter& starter, Clock& clock,
                               const Limits& limits, Handler handler,
                               std::function<void()> beforeWaiting)
    : link_(link),
      starter_(starter),
      clock_(clock),
      limits_(limits),
      betweenPings_(pauseFor(limits.silence)),
      handler_(std::move(handler)),
      beforeWaiting_(std::move(beforeWaiting)) {}

void DescriptorScan::add(Job job) {
  awaitEndOfPause();
  while (items_.size() >= limits_.underWay) {
    step();
  }
  items_.push_back({std::move(job), std::nullopt, 0, 0});
  send();
  handOver();
}

void DescriptorScan::addUnscannable(Job job, Answer why) {
  job.file.reset();
  awaitEndOfPause();
  while (items_.size() >= mostWaiting) {
    step();
  }
  items_.push_back({std::move(job), std::move(why), 0, 0});
  handOver();
}

void DescriptorScan::awaitEndOfPause() {
  while (starter_.wantsPause()) {
    step();
  }
}

bool DescriptorScan::makeRoom() {
  const std::size_t before = items_.size();
  while (!items_.empty() && items_.size() == before) {
    step();
  }
  return before > 0;
}

void DescriptorScan::finish() {
  while (!items_.empty()) {
    step();
  }
}

void DescriptorScan::step() {
  send();
  const bool pauses = starter_.wantsPause();
  if (session_ && (pauses || mustWait_ || underWay() > 0)) {
    watch();
  } else if (pauses) {
    waitWithoutSession();
  }
  handOver();
}

// One that ended while it was idle is followed by another when the next file needs it.
void DescriptorScan::waitWithoutSession() {
  Starter::Watched polled = starter_.watched();
  beforeWaiting_();
  if (poll(polled.data(), polled.size(), -1) > 0) {
    Starter::checkPolled(polled);
  }
}

std::size_t DescriptorScan::underWay() const {
  return static_cast<std::size_t>(std::count_if(items_.begin(), items_.end(),
                                                [](const Item& item) { return item.number != 0; }));
}

bool DescriptorScan::hasSuspects() const {
  return std::any_of(items_.begin(), items_.end(),
                     [](const Item& item) { return item.lost > 0 && !item.answer; });
}

// What a session ended over is sent by itself.
void DescriptorScan::send() {
  if (starter_.wantsPause()) {
    return;
  }
  const bool suspects = hasSuspects();
  for (Item& item : items_) {
    const bool isNext = !item.answer && item.number == 0;
    if (mustWait_ || !isNext || (suspects && (item.lost == 0 || underWay() > 0))) {
      continue;
    }
    refresh();
    if (!session_) {
      giveUp(link_.problem());
      return;
    }
    heard_ = underWay() == 0 ? clock_.now() : heard_;
    switch (session_->scan(item.job.file.get(), item.number)) {
      case ScanSession::Sent::yes:
        sent_ = clock_.now();
        break;
      case ScanSession::Sent::notNow:
        mustWait_ = true;
        break;
      case ScanSession::Sent::over:
        takeAnswers();
        return;
    }
  }
}

// A session that was silent for too long, because this program had to wait for its reader, is lost.
// What was under way in it is asked about once more; what comes now is not to share its end.
void DescriptorScan::refresh() {
  const bool silentTooLong =
      limits_.silence.count() != 0 && clock_.now() - sent_ >= limits_.silence;
  if (session_ && silentTooLong && underWay() == 0) {
    session_.reset();
  }
  if (!session_) {
    session_ = link_.open();
    sent_ = heard_ = clock_.now();
  }
}

int DescriptorScan::nextLook() const {
  Clock::Duration due = std::min(sent_ + betweenPings_, heard_ + limits_.patience) - clock_.now();
  if (mustWait_) {
    // There is room again when the daemon has read, of which there is no event.
    due = std::min<Clock::Duration>(due, 20ms);
  }
  const auto ms = std::chrono::ceil<std::chrono::milliseconds>(due).count();
  return static_cast<int>(std::clamp<std::int64_t>(ms, 1, 60000));
}

void DescriptorScan::watch() {
  const Starter::Watched& starter = starter_.watched();
  std::array<pollfd, 4> polled = {
      {{session_->descriptor(), POLLIN, 0}, starter[0], starter[1], starter[2]}};
  const int look = nextLook();
  mustWait_ = false;
  int ready = poll(polled.data(), polled.size(), 0);
  if (ready == 0 && underWay() > limits_.busy) {
    ready = awaitMore(polled);
  }
  if (ready == 0) {
    ready = awaitAnswer(polled, look);
  }
  if (ready > 0) {
    Starter::checkPolled({polled[1], polled[2], polled[3]});
    if (polled[0].revents != 0) {
      takeAnswers();
      return;
    }
  }
  keepAlive();
}

// Most of what a small file costs is that this program is woken for its answer: several cost it
// once.
int DescriptorScan::awaitMore(std::array<pollfd, 4>& polled) const {
  const int ready = ppoll(&polled[1], polled.size() - 1, &betweenAnswers, nullptr);
  return ready == 0 ? poll(polled.data(), polled.size(), 0) : ready;
}

// It takes its time: whoever reads the report is to have what there is of it, but not line by line.
int DescriptorScan::awaitAnswer(std::array<pollfd, 4>& polled, int look) {
  const auto since =
      std::chrono::duration_cast<std::chrono::milliseconds>(clock_.now() - handedOver_);
  const auto wait = std::min<std::int64_t>((betweenReports - since).count(), look);
  const int ready = wait > 0 ? poll(polled.data(), polled.size(), static_cast<int>(wait)) : 0;
  if (ready != 0) {
    return ready;
  }
  beforeWaiting_();
  handedOver_ = clock_.now();
  return poll(polled.data(), polled.size(), look);
}

void DescriptorScan::keepAlive() {
  const Clock::Duration now = clock_.now();
  if (now - heard_ >= limits_.patience) {
    askAfterSilence();
  } else if (now - sent_ >= betweenPings_) {
    sent_ = now;
    session_->ping();
  }
}

void DescriptorScan::takeAnswers() {
  const std::uint64_t before = session_->answers();
  const bool goesOn = session_->receive([this](const SessionAnswer& said) { take(said); });
  // A byte now and then is no sign of life, or a session could last for a day.
  if (session_->answers() != before) {
    heard_ = clock_.now();
  }
  if (!goesOn && holds()) {
    session_.reset();
  } else if (!goesOn) {
    lose(session_->ending());
  }
}

void DescriptorScan::take(const SessionAnswer& said) {
  for (Item& item : items_) {
    if (item.number != said.number) {
      continue;
    }
    item.number = 0;
    lossesInARow_ = 0;
    switch (said.kind) {
      case SessionAnswer::Kind::clean:
        item.answer = Answer{Answer::Kind::clean, {}};
        break;
      case SessionAnswer::Kind::infected:
        item.answer = Answer{Answer::Kind::infected, std::string(said.text)};
        break;
      default:
        item.answer = isOfWant(said.text)
                          ? Answer::postponed(std::string(said.text))
                          : Answer{Answer::Kind::notScanned, std::string(said.text)};
        break;
    }
    item.answer->heard = clock_.now();
  }
}

// Others' work may keep a daemon busy for hours, and it says so to whoever asks.
void DescriptorScan::askAfterSilence() {
  constexpr const char* stalled = "the scanner made no progress";
  if (link_.answers()) {
    lose(stalled);
    return;
  }
  session_.reset();
  link_.announceStall(limits_.patience);
  giveUp(stalled);
}

// NOLINTBEGIN(performance-unnecessary-value-param): see the header.
void DescriptorScan::lose(std::string reason) {
  bool overFiles = false;
  for (Item& item : items_) {
    overFiles = overFiles || !item.answer;
    if (item.number != 0) {
      item.number = 0;
      ++item.lost;
    }
    if (item.lost > 1 && !item.answer) {
      item.answer = unanswered(reason, true);
    }
  }
  session_.reset();
  mustWait_ = false;
  ++lossesInARow_;
  if (!overFiles) {
    return;  // it was idle; the next file gets another
  }
  if (lossesInARow_ > mostLosses) {
    giveUp(reason);
  } else if (!link_.answers()) {
    link_.announceLoss();
    giveUp(link_.problem());
  }
}

void DescriptorScan::giveUp(std::string reason) {
  link_.giveUp(reason);
  for (Item& item : items_) {
    const bool hadIt = item.number != 0 || item.lost > 0;
    item.number = 0;
    if (!item.answer) {
      item.answer = unanswered(reason, hadIt);
    }
  }
}
// NOLINTEND(performance-unnecessary-value-param)

void DescriptorScan::handOver() {
  for (auto item = items_.begin(); item != items_.end();) {
    if (!item->answer) {
      if (limits_.inOrder) {
        return;
      }
      ++item;
      continue;
    }
    // The handler may take long; nothing here must depend on what it finds.
    handler_(item->job, *item->answer);
    item = items_.erase(item);
  }
}

}  // namespace quillo::wrapper
