#include <gtest/gtest.h>

#include "history/HistoryReader.h"
#include "history/HistoryWriter.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Kind = HistoryResult::Kind;
using Outcome = HistoryResult::Outcome;

// What is entered without names, or as nothing to worry about.
class HistoryOfUnnamedTest : public testing::Test {
 protected:
  HistoryResult result(const std::string& path, Kind kind = Kind::found) {
    HistoryResult made;
    made.time = clock.wallTime();
    made.kind = kind;
    made.path = path;
    return made;
  }
  std::vector<HistoryResult> rows() {
    const HistorySelection selection = reader.select({});
    return reader.rows(selection, 0, selection.count());
  }
  void fail(std::size_t from, std::size_t to) {
    for (std::size_t file = from; file < to; ++file) {
      writer.add(result("/srv/" + std::to_string(file), Kind::notScanned));
    }
    writer.step();
  }
  // What the rows without names count, the latest first.
  std::vector<std::uint64_t> unnamed() {
    std::vector<std::uint64_t> counts;
    for (const HistoryResult& row : rows()) {
      if (row.path.empty()) {
        EXPECT_EQ(row.kind, Kind::notScanned);
        counts.push_back(row.unnamed);
      }
    }
    return counts;
  }
  std::vector<BusyFolder> busy() { return reader.busyFolders(0, 100); }

  const TemporaryFolder home;
  const std::string folder = home.at("state");
  PassingClock clock;
  FakeSystemLog log;
  HistoryWriter writer{{clock, log, folder, home.path()}};
  HistoryReader reader{folder};
};

TEST_F(HistoryOfUnnamedTest, CountsInOneRowADayWhatIsBeyondThatBound) {
  const std::size_t most = HistoryWriter::mostADay;
  fail(0, most);
  EXPECT_TRUE(unnamed().empty());
  fail(most, most + 5);
  EXPECT_EQ(unnamed(), std::vector<std::uint64_t>{5});
  // The same files and others: each is counted once.
  fail(0, most + 7);
  EXPECT_EQ(unnamed(), std::vector<std::uint64_t>{7});
  EXPECT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(reader.totalsSince(clock.wallTime() - std::chrono::hours(1)).notScanned, most + 7);
  clock.advance(std::chrono::hours(24));
  fail(0, most + 2);
  EXPECT_EQ(unnamed(), (std::vector<std::uint64_t>{2, 7}));
}

TEST_F(HistoryOfUnnamedTest, LowersNoCountOfADayWhenItBeginsAnew) {
  HistoryStore store(folder, clock, log, {});
  store.write({{UnnamedFiles{clock.wallTime(), 9}}, {}});
  HistoryStore again(folder, clock, log, {});
  again.write({{UnnamedFiles{clock.wallTime(), 3}}, {}});
  EXPECT_EQ(unnamed(), std::vector<std::uint64_t>{9});
  again.write({{UnnamedFiles{clock.wallTime(), 12}}, {}});
  EXPECT_EQ(unnamed(), std::vector<std::uint64_t>{12});
}

TEST_F(HistoryOfUnnamedTest, CountsCleanFilesThatNobodyNames) {
  writer.addClean(home.at("stick"), {40, 4000});
  writer.addClean(home.at("stick/"), {2, 5});
  writer.step();
  ASSERT_EQ(busy().size(), 1U);
  EXPECT_EQ(busy().at(0).folder, home.at("stick"));
  EXPECT_EQ(busy().at(0).amount, (ScannedAmount{42, 4005}));
}

TEST_F(HistoryOfUnnamedTest, MarksWhatASelfTestFoundHoweverOftenItWas) {
  for (const Outcome outcome : {Outcome::leftInPlace, Outcome::quarantined}) {
    HistoryResult find = result("/srv/test.com");
    find.outcome = outcome;
    find.detail = "/q/test.com";
    writer.add(find);
  }
  writer.add(result("/srv/other.com"));
  writer.add(LaterOutcome{"/srv/test.com", Outcome::selfTest, ""});
  writer.step();
  const auto all = rows();
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[0].outcome, Outcome::unsaid);
  EXPECT_EQ(all[1].outcome, Outcome::selfTest);
  EXPECT_EQ(all[1].detail, "/q/test.com");
  EXPECT_EQ(all[2].outcome, Outcome::selfTest);
}

}  // namespace
}  // namespace quillo
