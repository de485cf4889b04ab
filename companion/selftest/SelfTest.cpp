#include "companion/selftest/SelfTest.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "clamav/Definitions.h"
#include "companion/selftest/TestFile.h"
#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

using Done = SelfTestEvidence::Done;

// Of more folders nobody reads the names.
constexpr std::size_t mostNamed = 5;

std::int64_t secondsOf(Clock& clock) {
  return std::chrono::duration_cast<std::chrono::seconds>(clock.wallTime().time_since_epoch())
      .count();
}

Wording wordsFor(const SelfTestEvidence::Find& find) {
  switch (find.done) {
    case Done::quarantined:
      return {"SELFTEST_FOUND_QUARANTINED", {find.threat}};
    case Done::trashed:
      return {"SELFTEST_FOUND_TRASHED", {find.threat}};
    default:
      return {"SELFTEST_FOUND_IN_PLACE", {find.threat}};
  }
}

}  // namespace

SelfTest::SelfTest(Clock& clock, SelfTestEvidence& evidence, std::vector<std::string> moveFolders)
    : clock_(clock),
      evidence_(evidence),
      moveFolders_(std::move(moveFolders)),
      name_(newTestFileName()),
      begun_(clock.now()) {
  for (const Step step : {Step::agent, Step::written, Step::noticed, Step::found, Step::removed}) {
    results_.push_back({step, State::waiting, {}});
  }
  begin(Step::agent);
}

SelfTest::~SelfTest() {
  if (!isOver() && !path_.empty()) {
    evidence_.abandon(path_, writtenAt_);
  }
  removeFile();
}

void SelfTest::begin(Step step) { at(step).state = State::going; }

void SelfTest::finish(Step step, Wording words) {
  at(step).state = State::done;
  at(step).words = std::move(words);
}

void SelfTest::end(Step step, Outcome outcome, Wording words) {
  at(step).state = State::failed;
  at(step).words = std::move(words);
  outcome_ = outcome;
  leaveOthers();
  if (!path_.empty()) {
    evidence_.abandon(path_, writtenAt_);
    const std::string left = removeFile();
    at(Step::removed).state = left.empty() ? State::done : State::failed;
    at(Step::removed).words =
        left.empty() ? Wording{"SELFTEST_REMOVED"} : Wording{"SELFTEST_NOT_REMOVED", {left}};
  }
}

// Whatever is awaited still will not come any more.
void SelfTest::leaveOthers() {
  for (Result& result : results_) {
    if (result.state == State::going) {
      result.state = State::waiting;
      result.words = {"SELFTEST_NOT_KNOWN"};
    } else if (result.state == State::waiting) {
      result.words = {"SELFTEST_NOT_TRIED"};
    }
  }
}

void SelfTest::step() {
  if (isOver()) {
    return;
  }
  const SelfTestEvidence::Facts facts = evidence_.facts();
  if (path_.empty()) {
    awaitAgent(facts);
  } else {
    awaitFind(facts);
  }
}

void SelfTest::cancel() {
  if (!isOver()) {
    end(path_.empty() ? Step::agent : Step::found, Outcome::cannotTell, {"SELFTEST_CANCELLED"});
  }
}

bool SelfTest::isAbsent(const SelfTestEvidence::Facts& facts) {
  const bool isSeen = facts.agent != SelfTestEvidence::Agent::absent;
  looksWithoutAgent_ = isSeen ? 0 : looksWithoutAgent_ + 1;
  return looksWithoutAgent_ >= looksUntilAbsent;
}

void SelfTest::awaitAgent(const SelfTestEvidence::Facts& facts) {
  using Agent = SelfTestEvidence::Agent;
  const Clock::Duration waited = clock_.now() - begun_;
  lacksAgent_ = isAbsent(facts);
  if (facts.agent == Agent::watching) {
    finish(Step::agent, {"SELFTEST_GUARDED"});
    write(facts);
  } else if (lacksAgent_ && waited >= longestAbsence) {
    end(Step::agent, Outcome::cannotTell, {"SELFTEST_NO_AGENT"});
  } else if (facts.agent == Agent::stopped) {
    end(Step::agent, Outcome::fails, {"SELFTEST_NOT_WATCHING"});
  } else if (waited >= longestStart) {
    end(Step::agent, Outcome::fails, {"SELFTEST_STILL_STARTING"});
  }
}

void SelfTest::write(const SelfTestEvidence::Facts& facts) {
  begin(Step::written);
  verdictsBefore_ = facts.verdicts;
  writtenAt_ = secondsOf(clock_);
  for (const std::string& folder : facts.watchedFolders) {
    if (writeInto(folder)) {
      begun_ = clock_.now();
      finish(Step::written, wordsForWritten(folder, facts));
      begin(Step::noticed);
      return;
    }
  }
  end(Step::written, Outcome::cannotTell,
      facts.watchedFolders.empty() ? Wording{"SELFTEST_NO_FOLDER"}
                                   : Wording{"SELFTEST_NOT_WRITTEN", {problemWithFolder_}});
}

// One folder is tried: what is not said of the others nobody is to take for granted.
Wording SelfTest::wordsForWritten(const std::string& tried, const SelfTestEvidence::Facts& facts) {
  std::vector<std::string> others = facts.watchedFolders;
  others.insert(others.end(), facts.otherFolders.begin(), facts.otherFolders.end());
  std::erase(others, tried);
  leavesFoldersOut_ = !others.empty();
  if (others.empty()) {
    return {"SELFTEST_WRITTEN", {path_}};
  }
  std::string list;
  for (std::size_t at = 0; at < std::min(others.size(), mostNamed); ++at) {
    list += (at == 0 ? "" : ", ") + others[at];
  }
  return {"SELFTEST_WRITTEN_ALONE", {path_, list + (others.size() > mostNamed ? ", …" : "")}};
}

bool SelfTest::writeInto(const std::string& watched) {
  std::string folder = watched;
  while (folder.size() > 1 && folder.ends_with('/')) {
    folder.pop_back();
  }
  const int error = name_.empty() ? EIO : writeTestFile(folder, name_);
  if (error == 0) {
    path_ = (folder == "/" ? "" : folder) + "/" + name_;
  } else if (problemWithFolder_.empty()) {
    problemWithFolder_ = folder + ": " + std::strerror(error);
  }
  return error == 0;
}

bool SelfTest::isInPlace() const {
  return contentsOfRegularFile(path_, Links::refused, eicarTestFile().size()) == eicarTestFile();
}

void SelfTest::awaitFind(const SelfTestEvidence::Facts& facts) {
  if (facts.filesBeingScanned > 0 && at(Step::noticed).state == State::going) {
    finish(Step::noticed, {"SELFTEST_NOTICED"});
    begin(Step::found);
  }
  if (const auto find = evidence_.findOf(path_, writtenAt_)) {
    if (!find->destination.empty()) {
      destination_ = find->destination;
    }
    conclude(wordsFor(*find));
  } else if (clock_.now() - begun_ >= longestWay) {
    giveUp();
  } else if (isAbsent(facts)) {
    end(Step::found, Outcome::fails, {"SELFTEST_AGENT_LEFT"});
  }
}

void SelfTest::conclude(const Wording& found) {
  if (at(Step::noticed).state != State::done) {
    finish(Step::noticed, {"SELFTEST_NOTICED"});
  }
  finish(Step::found, found);
  // What was found when it was created is perhaps found again as it was closed.
  evidence_.abandon(path_, writtenAt_);
  const std::string left = removeFile();
  outcome_ = Outcome::works;
  if (left.empty()) {
    finish(Step::removed, {"SELFTEST_REMOVED"});
  } else {
    at(Step::removed).state = State::failed;
    at(Step::removed).words = {"SELFTEST_NOT_REMOVED", {left}};
  }
}

// No find is recorded. What can be said depends on what has become of the file, and on what the
// agent has counted, which may have been another file: that alone proves nothing.
void SelfTest::giveUp() {
  const bool isGone = !isInPlace();
  const SelfTestEvidence::Facts facts = evidence_.facts();
  const bool isCounted = facts.verdicts > verdictsBefore_;
  if (isGone) {
    end(Step::found, Outcome::cannotTell,
        {isCounted ? "SELFTEST_GONE_AND_COUNTED" : "SELFTEST_GONE"});
  } else if (isCounted) {
    end(Step::found, Outcome::cannotTell, {"SELFTEST_ONLY_COUNTED"});
  } else if (facts.filesBeingScanned > 0) {
    end(Step::found, Outcome::cannotTell, {"SELFTEST_STILL_BUSY"});
  } else if (at(Step::noticed).state == State::done) {
    end(Step::found, Outcome::fails, {"SELFTEST_NOT_FOUND"});
  } else {
    end(Step::noticed, Outcome::fails, {"SELFTEST_NOT_NOTICED"});
  }
}

std::string SelfTest::removeFile() {
  if (path_.empty()) {
    return {};
  }
  std::vector<std::string> folders = moveFolders_;
  folders.push_back(deletingLastPathComponent(path_));
  if (destination_) {
    const std::string folder = deletingLastPathComponent(*destination_);
    folders.push_back(folder);
    // What a trash knows of its files lies beside their folder (Trash 1.0, freedesktop.org).
    if (lastPathComponent(folder) == "files") {
      folders.push_back(deletingLastPathComponent(folder) + "/info");
    }
  }
  std::string left;
  for (const std::string& folder : folders) {
    const std::string problem = removeTestFile(folder, name_);
    left = left.empty() ? problem : left;
  }
  return left;
}

}  // namespace quillo
