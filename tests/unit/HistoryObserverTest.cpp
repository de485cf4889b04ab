#include <gtest/gtest.h>

#include "agent/HistoryObserver.h"
#include "clamav/Verdict.h"
#include "history/HistoryReader.h"
#include "history/HistoryWriter.h"
#include "scanning/Dispatcher.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/fakes/scanning/FakeScannerOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class CountingObserver final : public ScanObserver {
 public:
  void runBegan(std::size_t files) override { began += files; }
  void runEnded(std::size_t files) override { ended += files; }
  void verdictGiven(const Verdict& verdict) override { paths.push_back(verdict.path); }
  std::size_t began = 0;
  std::size_t ended = 0;
  std::vector<std::string> paths;
};

TEST(ScanObserversTest, HearEachOfWhatAllHear) {
  CountingObserver first;
  CountingObserver second;
  ScanObservers both({&first, &second});
  both.runBegan(3);
  both.runEnded(2);
  both.verdictGiven(Verdict::parse("/srv/a: OK"));
  for (const CountingObserver* const one : {&first, &second}) {
    EXPECT_EQ(one->began, 3U);
    EXPECT_EQ(one->ended, 2U);
    EXPECT_EQ(one->paths, std::vector<std::string>{"/srv/a"});
  }
}

TEST(HistoryObserverTest, JudgesAFindByWhatTheSettingsWantDone) {
  const TemporaryFolder home;
  PassingClock clock;
  FakeSystemLog log;
  FakeTrashFolders trash;
  FakeVolumes volumes;
  Dispatcher dispatcher(clock, log, volumes, nullptr);
  FakeScannerOwner owner(dispatcher);
  HistoryWriter writer({clock, log, home.at("state"), home.path()});
  HistoryObserver history(owner, writer, trash, clock);
  const auto outcomeWith = [&](InfectedFileAction action) {
    owner.chosen.quarantineOrTrash = action;
    history.verdictGiven(Verdict::parse("/srv/a: Eicar FOUND"));
    writer.step();
    HistoryReader reader(home.at("state"));
    return reader.rows(reader.select({}), 0, 1).at(0).outcome;
  };
  EXPECT_EQ(outcomeWith(InfectedFileAction::leaveInPlace), HistoryResult::Outcome::leftInPlace);
  EXPECT_EQ(outcomeWith(InfectedFileAction::quarantine), HistoryResult::Outcome::unsaid);
}

}  // namespace
}  // namespace quillo
