// Up to when everything is known, as it is kept for the next agent.

#include <gtest/gtest.h>

#include <filesystem>
#include <future>

#include "tests/fakes/watching/CatchUpFixture.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using std::chrono::minutes;
using std::chrono::seconds;

class KeptMoment : public CatchUpFixture {};

TEST_F(KeptMoment, IsKeptAtMostOnceAMinute) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  begin();
  const std::string first = TemporaryFolder::read(kept());
  for (int second = 0; second < 59; ++second) {
    clock.advance(seconds(1));
    hear("\n");
  }
  EXPECT_EQ(TemporaryFolder::read(kept()), first);
  clock.advance(seconds(1));
  hear("\n");
  EXPECT_NE(TemporaryFolder::read(kept()), first);
}

// This process can be killed before it is done.
TEST_F(KeptMoment, LiesBeforeALookThatGoesOn) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  begin();
  const std::string first = TemporaryFolder::read(kept());
  folder.write("missed", "x");
  catchUp->runEnded();
  std::string meanwhile;
  std::promise<void> begun;
  owner.onList = [&, isBegun = begun.get_future().share()] {
    isBegun.wait();
    for (int mark = 0; mark < 2; ++mark) {
      clock.advance(minutes(2));
      hear("\n");
    }
    meanwhile = TemporaryFolder::read(kept());
  };
  beginRun();
  begun.set_value();
  join();
  EXPECT_EQ(meanwhile, first);
}

// This agent can end before they have come to be scanned.
TEST_F(KeptMoment, LiesBeforeFilesThatWaitForTheirVerdict) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  bool filesWait = false;
  services.filesWait = [&] { return filesWait; };
  begin();
  const std::string first = TemporaryFolder::read(kept());
  filesWait = true;
  const auto keptTwoMinutesLater = [&] {
    clock.advance(minutes(2));
    hear("\n");
    return TemporaryFolder::read(kept());
  };
  EXPECT_EQ(keptTwoMinutesLater(), first);
  EXPECT_EQ(keptTwoMinutesLater(), first);
  filesWait = false;
  EXPECT_NE(keptTwoMinutesLater(), first);
}

TEST_F(KeptMoment, LiesBeforeWhatALookHasJustHandedOn) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  begin();
  const std::string first = TemporaryFolder::read(kept());
  catchUp->runEnded();
  clock.advance(minutes(10));
  beginRun();
  join();
  clock.advance(seconds(119));
  hear("\n");
  EXPECT_EQ(TemporaryFolder::read(kept()), first);
  clock.advance(minutes(1));
  hear("\n");
  EXPECT_NE(TemporaryFolder::read(kept()), first);
}

TEST_F(KeptMoment, IsNoneThatNobodyHasWatched) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  catchUp->watchingEnds();
  EXPECT_FALSE(fs::exists(kept()));
}

TEST_F(KeptMoment, ThatCannotBeKeptIsSaidOnce) {
  desktop.preferenceStore.set("QuilloCatchUp", true);
  home.write(".local", "no folder");
  begin();
  clock.advance(minutes(2));
  hear("\n");
  const std::vector<std::string> lines = desktop.systemLog.lines();
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                          [](const std::string& line) {
                            return line.find("cannot be kept") != std::string::npos;
                          }),
            1);
}

}  // namespace
}  // namespace quillo
