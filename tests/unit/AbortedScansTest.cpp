#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>

#include "scanning/AbortedScans.h"
#include "tests/fakes/scanning/FakeScannerOwner.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using Paths = AbortedScans::Paths;

class AbortedScansTest : public testing::Test {
 protected:
  void abort(const Paths& dropped) {
    aborted.abort(dropped, [] {});
  }

  FakeSystemLog log;
  FakePipelineObserver pipeline;
  AbortedScans aborted{log, &pipeline};
};

TEST_F(AbortedScansTest, CountWhatWasQueuedAtOnceWhereNothingRuns) {
  abort({"/a", "/b", "/c"});
  EXPECT_EQ(log.lines(), Lines{"Scans aborted: 3 files were not scanned"});
  EXPECT_EQ(pipeline.abandonedPaths(), (Paths{"/a", "/b", "/c"}));
}

TEST_F(AbortedScansTest, SayAlsoThatNothingWasLost) {
  abort({});
  EXPECT_EQ(log.lines(), Lines{"Scans aborted: no file was left unscanned"});
}

TEST_F(AbortedScansTest, CountWhatTheRunsHadNotJudgedInOneLineWhenTheLastHasEnded) {
  std::optional<AbortedScans::Run> first(std::in_place, &aborted, [] { return Paths{"/1"}; });
  std::optional<AbortedScans::Run> second(std::in_place, &aborted, [] { return Paths{}; });
  abort({});
  EXPECT_EQ(log.lines(), Lines());
  first.reset();
  EXPECT_EQ(log.lines(), Lines());
  second.reset();
  EXPECT_EQ(log.lines(), Lines{"Scans aborted: 1 file was not scanned"});
  EXPECT_EQ(pipeline.abandonedPaths(), Paths{"/1"});
}

TEST_F(AbortedScansTest, AreKnownToTheRunsThatTheyEnd) {
  AbortedScans::Run run(&aborted, [] { return Paths{"/1"}; });
  abort({});
  EXPECT_TRUE(run.end());
  EXPECT_EQ(log.lines(), Lines{"Scans aborted: 1 file was not scanned"});
  EXPECT_FALSE(run.end());
  EXPECT_FALSE(AbortedScans::Run(nullptr, [] { return Paths{}; }).end());
}

// What it left is somebody else's by then, and is not to be told of twice.
TEST_F(AbortedScansTest, DoNotConcernARunThatSaidSoAtItsEnd) {
  AbortedScans::Run run(&aborted, []() -> Paths { throw std::logic_error("asked"); });
  EXPECT_FALSE(run.end());
  abort({"/a"});
  EXPECT_EQ(log.lines(), Lines{"Scans aborted: 1 file was not scanned"});
}

TEST_F(AbortedScansTest, DoNotConcernARunThatBeginsLaterOrHasEnded) {
  const auto unasked = []() -> Paths { throw std::logic_error("asked"); };
  { const AbortedScans::Run ended(&aborted, unasked); }
  abort({"/a"});
  { const AbortedScans::Run later(&aborted, unasked); }
  EXPECT_EQ(log.lines(), Lines{"Scans aborted: 1 file was not scanned"});
}

TEST_F(AbortedScansTest, CountWhatARunLeavesThatBeginsWhileScannersAreEnded) {
  std::optional<AbortedScans::Run> run;
  aborted.abort({"/a"}, [&] { run.emplace(&aborted, [] { return Paths{"/1"}; }); });
  EXPECT_EQ(log.lines(), Lines());
  run.reset();
  EXPECT_EQ(log.lines(), Lines{"Scans aborted: 2 files were not scanned"});
}

TEST_F(AbortedScansTest, CountWhatARunLeavesThatBeginsAndEndsWhileScannersAreEnded) {
  aborted.abort({"/a"},
                [this] { const AbortedScans::Run run(&aborted, [] { return Paths{"/1"}; }); });
  EXPECT_EQ(log.lines(), Lines{"Scans aborted: 2 files were not scanned"});
}

TEST_F(AbortedScansTest, CountAlsoWhereEndingTheScannersFails) {
  const auto fails = [] { throw std::runtime_error("no process"); };
  EXPECT_THROW(aborted.abort({"/a"}, fails), std::runtime_error);
  EXPECT_EQ(log.lines(), Lines{"Scans aborted: 1 file was not scanned"});
  {
    const AbortedScans::Run later(&aborted, [] { return Paths{"/1"}; });
  }
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(AbortedScansTest, CountEachFileOnceHoweverOftenTheyAreAborted) {
  std::optional<AbortedScans::Run> run(std::in_place, &aborted, [] { return Paths{"/1", "/2"}; });
  abort({"/a"});
  abort({"/b"});
  run.reset();
  EXPECT_EQ(log.lines(), (Lines{"Scans aborted: 1 file was not scanned",
                                "Scans aborted: 3 files were not scanned"}));
}

TEST_F(AbortedScansTest, NeedNobodyWhoKeepsCount) {
  const AbortedScans::Run run(nullptr, [] { return Paths{}; });
}

}  // namespace
}  // namespace quillo
