#include <gtest/gtest.h>

#include "platform/linux/index/TrackerQuery.h"

namespace quillo {
namespace {

TEST(MetadataExclusion, LeavesOutWhatThePatternMatchesInAnyCase) {
  const auto log =
      MetadataExclusion::parse("(kMDItemFSName != '*/Library/Logs/VantrelQuillo-scan.log'c)");
  ASSERT_TRUE(log);
  EXPECT_TRUE(log->leavesOut("/home/anna/Library/Logs/VantrelQuillo-scan.log"));
  EXPECT_TRUE(log->leavesOut("/Library/Logs/VantrelQuillo-scan.log"));
  EXPECT_TRUE(log->leavesOut("/home/anna/library/LOGS/vantrelquillo-SCAN.log"));
  EXPECT_FALSE(log->leavesOut("/home/anna/Library/Logs/VantrelQuillo-scan.log.1"));
  EXPECT_FALSE(log->leavesOut("/home/anna/Logs/VantrelQuillo-scan.log"));
  EXPECT_FALSE(log->leavesOut("VantrelQuillo-scan.log"));
}

TEST(MetadataExclusion, MindsTheCaseWithoutItsModifier) {
  const auto text = MetadataExclusion::parse(" kMDItemFSName!='*.TXT' ");
  ASSERT_TRUE(text);
  EXPECT_TRUE(text->leavesOut("/a/b.TXT"));
  EXPECT_FALSE(text->leavesOut("/a/b.txt"));
}

TEST(MetadataExclusion, IsNothingForAnyOtherText) {
  for (const char* text :
       {"", "()", "(kMDItemFSName == '*'c)", "(kMDItemPath != '*')", "(kMDItemFSName != '*'d)",
        "(kMDItemFSName != *)", "(kMDItemFSName != ')", "(kMDItemFSName != '*'c"}) {
    EXPECT_FALSE(MetadataExclusion::parse(text)) << text;
  }
}

}  // namespace
}  // namespace quillo
