#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/LocalizedStrings.h"
#include "posix/Clock.h"

namespace quillo {

// What the self-test asks of the program's memory and of the agent. The thread of the test's steps.
class SelfTestEvidence {
 public:
  enum class Agent { absent, stopped, starting, watching };
  struct Facts {
    Agent agent = Agent::absent;
    std::vector<std::string> watchedFolders;  // those in which a new file is noticed; bytes
    std::uint64_t filesBeingScanned = 0;
    std::uint64_t verdicts = 0;  // finds and files not scanned, since the agent began
    std::vector<std::string> otherFolders = {};  // watched, and a new file there is not scanned
  };
  enum class Done { leftInPlace, quarantined, trashed };
  struct Find {
    std::string threat;
    Done done = Done::leftInPlace;
    std::string destination;  // where it lies now, if it was moved
  };

  virtual ~SelfTestEvidence() = default;
  virtual Facts facts() = 0;
  // Returns what was recorded of the file of that path since then (seconds since 1970); nothing
  // while nothing was. Its name alone is proof enough: no other file bears it.
  virtual std::optional<Find> findOf(const std::string& path, std::int64_t since) = 0;
  // Has whatever was recorded of it since then, and will be, count as the test's own: nobody waits
  // for more.
  virtual void abandon(const std::string& path, std::int64_t since) = 0;
};

// One try of the whole way of a file, with the harmless test file of the anti-virus researchers: it
// is written into a guarded folder, noticed, found, and removed again wherever it has got to. Owned
// by one thread, which takes its steps.
class SelfTest {
 public:
  enum class Step { agent, written, noticed, found, removed };
  enum class State { waiting, going, done, failed };
  struct Result {
    Step step = Step::agent;
    State state = State::waiting;
    Wording words;  // what came of it, or what to do; empty while nothing is known yet
  };
  enum class Outcome { going, works, fails, cannotTell };

  static constexpr Clock::Duration pause = std::chrono::milliseconds(250);
  static constexpr Clock::Duration longestStart = std::chrono::minutes(3);
  // One that was started a moment ago is not there yet.
  static constexpr Clock::Duration longestAbsence = std::chrono::seconds(30);
  static constexpr Clock::Duration longestWay = std::chrono::minutes(1);
  // An agent counts as absent after so many looks in a row that did not see it: a bus or a machine
  // under load may be late with one answer.
  static constexpr int looksUntilAbsent = 4;

  // Looks for what was moved in `moveFolders`, too: the quarantine folder, and where the Trash
  // keeps files and what it knows of them. The others outlive this.
  SelfTest(Clock& clock, SelfTestEvidence& evidence, std::vector<std::string> moveFolders);
  // Removes the file.
  ~SelfTest();
  SelfTest(const SelfTest&) = delete;
  SelfTest& operator=(const SelfTest&) = delete;

  // Looks once at what has become of the file. To be called every `pause` until it is over.
  void step();
  // Ends it early: the file is removed, and nothing can be told.
  void cancel();

  Outcome outcome() const { return outcome_; }
  bool isOver() const { return outcome_ != Outcome::going; }
  // Returns whether it awaits an agent where none runs, or ended for want of one; both after
  // several looks.
  bool lacksAgent() const { return lacksAgent_; }
  // Returns all steps, in their order.
  const std::vector<Result>& results() const { return results_; }
  // Returns the path of the test file; "" before it was written.
  const std::string& path() const { return path_; }
  // Returns whether other folders are watched that it does not try.
  bool leavesFoldersOut() const { return leavesFoldersOut_; }

 private:
  Result& at(Step step) { return results_.at(static_cast<std::size_t>(step)); }
  void begin(Step step);
  void finish(Step step, Wording words);
  void end(Step step, Outcome outcome, Wording words);
  void leaveOthers();
  bool isAbsent(const SelfTestEvidence::Facts& facts);
  void awaitAgent(const SelfTestEvidence::Facts& facts);
  void write(const SelfTestEvidence::Facts& facts);
  bool writeInto(const std::string& watched);
  void awaitFind(const SelfTestEvidence::Facts& facts);
  void conclude(const Wording& found);
  void giveUp();
  bool isInPlace() const;
  Wording wordsForWritten(const std::string& tried, const SelfTestEvidence::Facts& facts);
  // Returns what could not be removed; "" when nothing is left.
  std::string removeFile();

  // Constant after construction.
  Clock& clock_;
  SelfTestEvidence& evidence_;
  const std::vector<std::string> moveFolders_;
  const std::string name_;

  std::vector<Result> results_;
  Outcome outcome_ = Outcome::going;
  bool lacksAgent_ = false;
  bool leavesFoldersOut_ = false;
  int looksWithoutAgent_ = 0;  // in a row
  Clock::Duration begun_{};
  std::int64_t writtenAt_ = 0;
  std::uint64_t verdictsBefore_ = 0;
  std::string path_;
  std::string problemWithFolder_;
  std::optional<std::string> destination_;
};

}  // namespace quillo
