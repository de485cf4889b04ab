#include "tests/fakes/menu/ThrobberFixture.h"

namespace quillo {
namespace {

// Notes whether an update was going on each time that the count changed.
class NotingOwner final : public ThrobberOwner {
 public:
  explicit NotingOwner(Clock& clock) : lock_(clock) {}

  std::int32_t scannerCount() override { return 0; }
  void modifyScannerCountBy(std::int32_t delta) override {
    changes.emplace_back(delta, throbber->isUpdating());
  }
  StatusFacts status() override { return {}; }
  Condition& throbberLock() override { return lock_; }
  void restartWatcher() override {}
  void updateEnded() override {}
  std::optional<std::string> updateLog() override { return std::nullopt; }

  Throbber* throbber = nullptr;
  std::vector<std::pair<std::int32_t, bool>> changes;

 private:
  Condition lock_;
};

class ThrobberUpdate : public ThrobberFixture {};

TEST_F(ThrobberUpdate, IsOverBeforeTheCountFalls) {
  NotingOwner noting(clock);
  Throbber throbber{services()};
  noting.throbber = &throbber;
  throbber.setController(noting);
  throbber.startUpdate();
  throbber.stopUpdate();
  ASSERT_EQ(noting.changes.size(), 2U);
  EXPECT_EQ(noting.changes[1], (std::pair<std::int32_t, bool>{-1, false}));
}

}  // namespace
}  // namespace quillo
