#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quillo {

// What the agent says of itself in one answer, for whoever asks it over the desktop. Times are
// seconds since 1970, 0 where there is none.
struct AgentStatus {
  // Grows when what stands here changes its meaning; what is added leaves it.
  static constexpr std::uint32_t currentVersion = 1;

  std::uint32_t version = currentVersion;
  std::string program;    // its version, as --version says it
  std::string state;      // "stopped", "starting", "watching", "asleep", "quitting"
  std::string words;      // what it is doing, in its user's language
  std::string attention;  // "", "noPreferences", "noEngine", "engineFails", "helperFails",
                          // "noDefinitions", "oldDefinitions", "missingFolders", "gaps"
  std::uint64_t filesBeingScanned = 0;
  std::int64_t scanningSince = 0;
  std::int64_t watchingSince = 0;
  std::vector<std::string> watchedFolders;  // bytes
  std::vector<std::string> missingFolders;
  std::uint64_t placesWithGaps = 0;
  std::int64_t definitionsBuilt = 0;
  std::string definitionFolder;  // where the daemon in use has them from; bytes
  bool updating = false;
  std::string engine;  // the folder of the engine
  // Grows when the history has news of finds and files not scanned; while it is not kept, when
  // there are any.
  std::uint64_t verdicts = 0;
  std::string historyProblem;  // why the history is not kept; "" where it is
  // In how many files malware was found in the last 30 days, and how many could not be scanned.
  std::uint64_t foundRecently = 0;
  std::uint64_t notScannedRecently = 0;

  bool operator==(const AgentStatus&) const = default;
};

// The agent's end: answers whoever asks, and says when something has changed.
class StatusPublisher {
 public:
  virtual ~StatusPublisher() = default;
  // Has `status` called on the main thread whenever somebody asks. Main thread.
  virtual void publishStatus(std::function<AgentStatus()> status) = 0;
  // Says that it may have changed: who listens is sent it soon if it has, at most a few times a
  // second. Costs nothing while nobody listens. Any thread; never waits.
  virtual void statusChanged() = 0;
};

// What is known of the agent of this session.
enum class AgentPresence {
  unknown,    // nobody has said yet whether one runs
  absent,     // none runs
  beginning,  // one runs, and has nothing to say of itself yet
  silent,     // it cannot be asked, does not answer, or nothing that is understood
  foreign,    // who has its name is no process of this user, and is not believed
  answering   // status() says the rest
};

// What has become of the last start of an agent.
struct AgentStart {
  bool isUnderWay = false;
  std::string problem;  // why none came of it: words for the log; "" where it went well

  bool operator==(const AgentStart&) const = default;
};

// The other end: the agent of this session, as the main application sees it. Main thread.
class AgentLink {
 public:
  virtual ~AgentLink() = default;
  // Returns what it said last; nothing while none runs, or none that can be asked.
  virtual std::optional<AgentStatus> status() const = 0;
  // Returns what the lack of a status means, for whoever must not take "not yet" for "none".
  virtual AgentPresence presence() const = 0;
  // Has `changed` called whenever one of these is another: an agent came, changed, or went, or one
  // that was started does not come.
  virtual void observe(std::function<void()> changed) = 0;
  // Asks and waits for the answer, at most a few seconds, for whoever has no event loop. Returns ""
  // when it is known: status() says it then, or that none runs. Else why it is not: words for the
  // log.
  virtual std::string refresh() = 0;
  // Starts an agent where none runs, and does not wait for it. Returns false when the desktop knows
  // of none.
  virtual bool start() = 0;
  // Returns whether it is still awaited, and why it does not come. Nothing once one runs.
  virtual AgentStart lastStart() const = 0;
};

}  // namespace quillo
