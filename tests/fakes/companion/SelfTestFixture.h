#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <iterator>
#include <optional>
#include <string>

#include "companion/selftest/SelfTest.h"
#include "posix/Text.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// An agent that does what the test says, with the files themselves.
struct FakeEvidence final : public SelfTestEvidence {
  Facts facts() override {
    if (onFacts) {
      onFacts();
    }
    return now;
  }
  std::optional<Find> findOf(const std::string& path, std::int64_t since) override {
    asked = path;
    askedSince = since;
    return find;
  }
  void abandon(const std::string& path, std::int64_t since) override {
    abandoned = path;
    abandonedSince = since;
  }
  std::string abandoned;
  std::int64_t abandonedSince = 0;
  Facts now;
  std::optional<Find> find;
  std::function<void()> onFacts;
  std::string asked;
  std::int64_t askedSince = 0;
};

class SelfTestFixture : public testing::Test {
 protected:
  SelfTestFixture() {
    clock.setSleepsPassAtOnce(true);
    evidence.now = {SelfTestEvidence::Agent::watching, {guarded + "/"}, 0, 5};
  }
  void steps(SelfTest& test, Clock::Duration length) {
    for (Clock::Duration passed{}; passed < length && !test.isOver(); passed += SelfTest::pause) {
      test.step();
      clock.advance(SelfTest::pause);
    }
  }
  static SelfTest::Result of(const SelfTest& test, SelfTest::Step step) {
    return test.results().at(static_cast<std::size_t>(step));
  }
  static std::size_t countIn(const std::string& place) {
    const std::filesystem::directory_iterator entries(place);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
  }
  // As the engine moves it: into the quarantine, perhaps under another ending.
  std::string moveAway(const SelfTest& test) const {
    std::string place = quarantine + "/" + std::string(lastPathComponent(test.path())) + ".001";
    std::filesystem::rename(test.path(), place);
    return place;
  }

  TemporaryFolder folder;
  const std::string guarded = folder.makeFolder("guarded");
  const std::string quarantine = folder.makeFolder("quarantine");
  ManualClock clock;
  FakeEvidence evidence;
};

}  // namespace quillo
