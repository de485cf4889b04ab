#include "companion/selftest/TestCommand.h"

#include <array>
#include <nlohmann/json.hpp>

#include "clamav/Verdict.h"
#include "companion/CommandWords.h"

namespace quillo {
namespace {

using State = SelfTest::State;
using Outcome = SelfTest::Outcome;

constexpr int jsonVersion = 1;

const char* nameOf(SelfTest::Step step) {
  constexpr std::array names = {"agent", "written", "noticed", "found", "removed"};
  return names.at(static_cast<std::size_t>(step));
}

const char* nameOf(State state) {
  constexpr std::array names = {"waiting", "going", "done", "failed"};
  return names.at(static_cast<std::size_t>(state));
}

const char* nameOf(Outcome outcome) {
  constexpr std::array names = {"going", "works", "fails", "cannotTell"};
  return names.at(static_cast<std::size_t>(outcome));
}

void printJson(std::ostream& out, const SelfTest& test, LocalizedStrings& strings) {
  nlohmann::ordered_json document = {{"version", jsonVersion},
                                     {"command", "test"},
                                     {"result", nameOf(test.outcome())},
                                     {"file", reportedText(test.path())},
                                     {"steps", nlohmann::ordered_json::array()}};
  for (const SelfTest::Result& result : test.results()) {
    document["steps"].push_back({{"step", nameOf(result.step)},
                                 {"state", nameOf(result.state)},
                                 {"words", reportedText(result.words.in(strings))}});
  }
  out << document.dump(2) << "\n";
}

// Prints the steps from `next` on that have come to an end, and returns the first that has not.
std::size_t printSteps(std::ostream& out, const SelfTest& test, std::size_t next,
                       LocalizedStrings& strings) {
  const auto isOver = [](const SelfTest::Result& result) {
    return result.state == State::done || result.state == State::failed;
  };
  while (next < test.results().size() && (isOver(test.results()[next]) || test.isOver())) {
    const SelfTest::Result& result = test.results()[next++];
    if (isOver(result)) {
      out << (result.state == State::done ? "✓ " : "✗ ") << reportedText(result.words.in(strings))
          << std::endl;
    }
  }
  return next;
}

const char* keyOfEnd(const SelfTest& test) {
  if (test.outcome() == Outcome::works) {
    return test.leavesFoldersOut() ? "SELFTEST_END_WORKS_THERE" : "SELFTEST_END_WORKS";
  }
  return test.outcome() == Outcome::fails ? "SELFTEST_END_FAILS" : "SELFTEST_END_UNKNOWN";
}

int statusOf(Outcome outcome) {
  return outcome == Outcome::works ? 0 : outcome == Outcome::fails ? 1 : 2;
}

}  // namespace

int runTestCommand(const std::vector<std::string>& words, std::ostream& out, std::ostream& errors,
                   const TestCommandServices& services) {
  const std::optional<CommandWords> asked = commandWordsOf(words);
  if (!asked || !asked->operands.empty()) {
    return showUsage(errors, "test [--json]");
  }
  const bool isJson = asked->asJson;
  LocalizedStrings& strings = services.localizedStrings;
  if (!isJson) {
    out << strings.stringForKey("SELFTEST_BEFORE", "") << std::endl;
  }
  SelfTest test(services.clock, services.evidence, services.moveFolders);
  if (const std::string problem = services.agentProblem(); !problem.empty()) {
    errors << reportedText(Wording{"COMMAND_NO_ANSWER", {problem}}.in(strings)) << "\n";
    test.cancel();
  }
  std::size_t next = 0;
  for (test.step(); !test.isOver(); test.step()) {
    next = isJson ? next : printSteps(out, test, next, strings);
    services.clock.sleepFor(SelfTest::pause);
    if (services.isInterrupted()) {
      test.cancel();
    }
  }
  if (isJson) {
    printJson(out, test, strings);
  } else {
    printSteps(out, test, next, strings);
    out << strings.stringForKey(keyOfEnd(test), "") << std::endl;
  }
  return statusOf(test.outcome());
}

}  // namespace quillo
