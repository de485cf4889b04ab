#pragma once

#include <poll.h>
#include <sys/types.h>

#include <array>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "clamav/ScanSession.h"
#include "clamav/Verdict.h"
#include "posix/Clock.h"
#include "posix/UniqueFd.h"
#include "tools/clamdscan/DaemonLink.h"
#include "tools/clamdscan/Entry.h"
#include "tools/clamdscan/Starter.h"

namespace quillo::wrapper {

// A file that is open to be scanned, or cannot be.
struct Job {
  std::vector<Entry> entries;  // the names under which it was asked for
  UniqueFd file;
  off_t size = 0;  // when it was opened
  bool inFolder = false;
};

// What the daemon said of it, or why it did not.
struct Answer {
  enum class Kind { clean, infected, notScanned };
  Kind kind = Kind::notScanned;
  std::string text;  // the threat, or the reason
  Verdict::Limit limit = Verdict::Limit::none;
  Verdict::DaemonGone daemonGone = Verdict::DaemonGone::no;
  Clock::Duration heard{};  // when the daemon's was here

  // Of want that passes, before the daemon could look at it: the file is tried again.
  static Answer postponed(std::string reason) {
    return {Kind::notScanned, std::move(reason), Verdict::Limit::none, Verdict::DaemonGone::before};
  }
};

// Has opened files scanned by the daemon, several at a time, over one session. A session that is
// lost is followed by another as long as the daemon gives signs of life; a file is asked about
// twice at most, the second time alone, for it may be what ended the first. One thread.
class DescriptorScan {
 public:
  struct Limits {
    std::size_t underWay = 2;              // files that the daemon has at once
    std::size_t busy = 2;                  // with more than these it has work for a while
    bool inOrder = true;                   // answers come in the order of the files
    std::chrono::milliseconds silence{0};  // the daemon drops a session that is silent for longer
    Clock::Duration patience{};            // what a daemon may take without any sign of life
  };
  using Handler = std::function<void(Job& job, const Answer& answer)>;

  DescriptorScan(DaemonLink& link, const Starter& starter, Clock& clock, const Limits& limits,
                 Handler handler, std::function<void()> beforeWaiting);

  // Takes a file, after it has waited for a place and for the end of the starter's pause. Answers
  // are handed over meanwhile.
  void add(Job job);
  // Takes its turn with what cannot be scanned.
  void addUnscannable(Job job, Answer why);
  // Waits for the answer to some file; returns false when there is none to wait for.
  bool makeRoom();
  // Waits for all answers.
  void finish();
  // Returns true while the starter wants a pause and the daemon has none of the files.
  bool holds() const { return starter_.wantsPause() && underWay() == 0; }

 private:
  struct Item {
    Job job;
    std::optional<Answer> answer;
    std::uint64_t number = 0;  // of the question under way
    int lost = 0;              // sessions that ended over it
  };

  void awaitEndOfPause();
  void step();
  void send();
  bool hasSuspects() const;
  void refresh();
  void watch();
  int awaitMore(std::array<pollfd, 4>& polled) const;
  int awaitAnswer(std::array<pollfd, 4>& polled, int look);
  void waitWithoutSession();
  void keepAlive();
  void takeAnswers();
  void take(const SessionAnswer& said);
  void askAfterSilence();
  // By value: the session that they end may hold the text.
  void lose(std::string reason);
  void giveUp(std::string reason);
  void handOver();
  std::size_t underWay() const;
  int nextLook() const;

  DaemonLink& link_;
  const Starter& starter_;
  Clock& clock_;
  const Limits limits_;
  const Clock::Duration betweenPings_;
  const Handler handler_;
  const std::function<void()> beforeWaiting_;
  std::list<Item> items_;
  std::optional<ScanSession> session_;
  bool mustWait_ = false;  // nothing more can be sent for the moment
  Clock::Duration sent_{};
  Clock::Duration heard_{};
  Clock::Duration handedOver_{};
  int lossesInARow_ = 0;
};

}  // namespace quillo::wrapper
