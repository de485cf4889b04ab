#include <gtest/gtest.h>

#include <string>

#include "posix/Snapshot.h"

namespace quillo {
namespace {

TEST(Snapshot, HoldsADefaultValueUntilOneIsStored) {
  const Snapshot<std::string> snapshot;
  ASSERT_NE(snapshot.load(), nullptr);
  EXPECT_EQ(*snapshot.load(), "");
}

TEST(Snapshot, GivesWhatWasStoredLast) {
  Snapshot<std::string> snapshot("first");
  EXPECT_EQ(*snapshot.load(), "first");
  snapshot.store("second");
  EXPECT_EQ(*snapshot.load(), "second");
}

TEST(Snapshot, AReaderKeepsWhatItReadWhenAnotherValueIsStored) {
  Snapshot<std::string> snapshot("first");
  const auto read = snapshot.load();
  snapshot.store("second");
  EXPECT_EQ(*read, "first");
}

// A value whose end reads the snapshot that held it.
struct ReadsAtItsEnd {
  std::shared_ptr<Snapshot<ReadsAtItsEnd>*> where;
  ~ReadsAtItsEnd() {
    if (where && *where) {
      static_cast<void>((*where)->load());
    }
  }
};

TEST(Snapshot, TheOldValueEndsOutsideTheLock) {
  auto where = std::make_shared<Snapshot<ReadsAtItsEnd>*>(nullptr);
  Snapshot<ReadsAtItsEnd> snapshot(ReadsAtItsEnd{where});
  *where = &snapshot;
  // Would never return if the lock were held.
  snapshot.store(ReadsAtItsEnd{nullptr});
  *where = nullptr;
}

}  // namespace
}  // namespace quillo
