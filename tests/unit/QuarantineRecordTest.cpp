#include <gtest/gtest.h>

#include "posix/Text.h"
#include "quarantine/QuarantineRecord.h"

namespace quillo {
namespace {

QuarantineRecord example() {
  QuarantineRecord record;
  record.state = QuarantineRecord::State::restoring;
  record.name = "a\nend\n\xff b";
  record.origin = "/home/anna/x\\x41/a\nend\n\xff b";
  record.threat = "Win.Test.EICAR_HDB-1";
  record.moved = QuarantineRecord::Time(std::chrono::seconds(1700000000));
  record.identity = {0, 12, 13, -14, 15};
  record.hash = std::string(64, 'a');
  record.mode = 04755;
  record.owner = 1000;
  record.accessed = 5;
  record.changed = -6;
  record.check = QuarantineRecord::Check::clean;
  record.checkedWith = QuarantineRecord::Time(std::chrono::seconds(1710000000));
  record.foundWith = QuarantineRecord::Time(std::chrono::seconds(1690000000));
  record.target = "/tmp/ y";
  record.restored = {0, 1, 2, 3, 4};
  return record;
}

TEST(QuarantineRecordText, GivesEverythingBack) {
  const auto record = QuarantineRecord::parse(example().text());
  ASSERT_TRUE(record);
  EXPECT_EQ(record->text(), example().text());
  EXPECT_EQ(record->name, example().name);
  EXPECT_EQ(record->origin, example().origin);
  EXPECT_EQ(record->identity, example().identity);
  EXPECT_EQ(record->moved, example().moved);
  EXPECT_EQ(record->foundWith, example().foundWith);
  EXPECT_EQ(record->mode, 04755U);
  EXPECT_EQ(record->check, QuarantineRecord::Check::clean);
  EXPECT_EQ(record->target, "/tmp/ y");
}

TEST(QuarantineRecordText, HasItsStateWhereItIsExchanged) {
  EXPECT_EQ(example().text().substr(recordStatePlace, 9), "restoring");
}

TEST(QuarantineRecordText, CountsOnlyWhenItIsWhole) {
  const std::string text = example().text();
  for (std::size_t length = 0; length < text.size() - 1; ++length) {
    EXPECT_FALSE(QuarantineRecord::parse(text.substr(0, length))) << length;
  }
}

TEST(QuarantineRecordText, PassesOverWordsThatItDoesNotKnow) {
  EXPECT_TRUE(
      QuarantineRecord::parse(replacingAll(example().text(), "owner ", "new thing\nowner ")));
}

TEST(QuarantineRecordText, IsNothingWithAWordTwiceOrAValueThatCannotBe) {
  const std::string text = example().text();
  for (const auto& [what, with] : std::initializer_list<std::pair<const char*, const char*>>{
           {"quarantine 1", "quarantine 2"},
           {"restoring", "thrownout"},
           {"owner 1000", "owner 1000\nowner 1000"},
           {"owner 1000", "owner anna"},
           {"mode 4755", "mode 9"},
           {"identity 12 13 -14 15", "identity 12 13 -14"},
           {"sha256 aaaa", "sha256 /../"},
           {"check clean", "check mate"},
           {"name a", "name ../a"},
           {"origin /home", "origin home"},
           {"origin /home", "origin /home/../root"},
           {"target /tmp/ y", "target /tmp/.."},
           {"end\n", "end\nmore\n"}}) {
    ASSERT_NE(text.find(what), std::string::npos) << what;
    EXPECT_FALSE(QuarantineRecord::parse(replacingAll(text, what, with))) << what;
  }
}

TEST(QuarantineRecordText, IsOfNoFileThatHasChanged) {
  QuarantineRecord record = example();
  FileIdentity now = record.identity;
  now.device = 77;
  EXPECT_TRUE(record.isOf(now));
  EXPECT_TRUE(record.isOf(record.restored));
  now.changed += 1;
  EXPECT_FALSE(record.isOf(now));
}

TEST(QuarantineRecordText, MayLackWhichDefinitionsFoundIt) {
  const auto record = QuarantineRecord::parse(
      replacingAll(example().text(), "found-with 1690000000000000000\n", ""));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->foundBy(), record->moved);
}

TEST(QuarantineRecordCheck, CountsAsCleanWithNewerDefinitionsAlone) {
  QuarantineRecord record = example();
  record.checkedWith = record.foundWith + std::chrono::seconds(1);
  ASSERT_LT(record.checkedWith, record.moved);
  EXPECT_TRUE(record.isCleanByNow());
  record.checkedWith = record.foundWith;
  EXPECT_FALSE(record.isCleanByNow());
  // Those of the move at the most, where nobody knows which.
  record.foundWith = {};
  record.checkedWith = record.moved;
  EXPECT_FALSE(record.isCleanByNow());
  record.checkedWith += std::chrono::seconds(1);
  EXPECT_TRUE(record.isCleanByNow());
  record.moved = record.checkedWith = {};
  EXPECT_FALSE(record.isCleanByNow());
}

}  // namespace
}  // namespace quillo
