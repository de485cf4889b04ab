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
  std::string attention;  // "", "noEngine", "helperFails", "noDefinitions", "oldDefinitions",
                          // "missingFolders", "gaps"
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

// The other end: the agent of this session, as the main application sees it. Main thread.
class AgentLink {
 public:
  virtual ~AgentLink() = default;
  // Returns what it said last; nothing while none runs, or none that can be asked.
  virtual std::optional<AgentStatus> status() const = 0;
  // Has `changed` called whenever that is another: an agent came, changed, or went.
  virtual void observe(std::function<void()> changed) = 0;
  // Asks and waits for the answer, at most a few seconds, for whoever has no event loop. Returns ""
  // when it is known: status() says it then, or that none runs. Else why it is not: words for the
  // log.
  virtual std::string refresh() = 0;
  // Starts an agent where none runs. Returns false when the desktop knows of none.
  virtual bool start() = 0;
};

}  // namespace quillo
