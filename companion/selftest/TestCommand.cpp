#include "companion/selftest/TestCommand.h"

#include <array>
#include <string_view>

#include "clamav/Verdict.h"

namespace quillo {
namespace {

using State = SelfTest::State;
using Outcome = SelfTest::Outcome;

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

std::string json(std::string_view bytes) {
  std::string result = "\"";
  for (const char c : reportedText(bytes)) {
    result += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
  }
  return result + "\"";
}

void printJson(std::ostream& out, const SelfTest& test, LocalizedStrings& strings) {
  out << "{\"version\":1,\"command\":\"test\",\"result\":\"" << nameOf(test.outcome())
      << "\",\"file\":" << json(test.path()) << ",\"steps\":[";
  const char* separator = "";
  for (const SelfTest::Result& result : test.results()) {
    out << separator << "{\"step\":\"" << nameOf(result.step) << "\",\"state\":\""
        << nameOf(result.state) << "\",\"words\":" << json(result.words.in(strings)) << "}";
    separator = ",";
  }
  out << "]}\n";
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

int statusOf(Outcome outcome) {
  return outcome == Outcome::works ? 0 : outcome == Outcome::fails ? 1 : 2;
}

}  // namespace

int runTestCommand(const std::vector<std::string>& words, std::ostream& out, std::ostream& errors,
                   const TestCommandServices& services) {
  const bool isJson = words.size() == 1 && words[0] == "--json";
  if (!words.empty() && !isJson) {
    errors << reportedText(Wording{"SELFTEST_USAGE", {words.back()}}.in(services.localizedStrings))
           << "\n";
    return 2;
  }
  LocalizedStrings& strings = services.localizedStrings;
  if (!isJson) {
    out << strings.stringForKey("SELFTEST_BEFORE", "") << std::endl;
  }
  SelfTest test(services.clock, services.evidence, services.moveFolders);
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
    out << strings.stringForKey(
               std::string("SELFTEST_END_") + (test.outcome() == Outcome::works   ? "WORKS"
                                               : test.outcome() == Outcome::fails ? "FAILS"
                                                                                  : "UNKNOWN"),
               "")
        << std::endl;
  }
  return statusOf(test.outcome());
}

}  // namespace quillo
