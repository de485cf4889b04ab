#include "clamav/ScanLimits.h"

#include <gtest/gtest.h>

#include "clamav/ClamConf.h"

namespace quillo {
namespace {

std::chrono::milliseconds longestScan(const std::string& configuration) {
  return ScanLimits::of(ClamConf::parse(configuration)).longestScan;
}

TEST(ScanLimits, KnowNoLongestScanWhereTheDaemonSetsItselfNone) {
  EXPECT_EQ(longestScan("MaxScanTime 0\n"), std::chrono::milliseconds(0));
}

TEST(ScanLimits, TakeTheDaemonsOwnLongestScanOrItsDefault) {
  EXPECT_EQ(longestScan("MaxScanTime 5000\n"), std::chrono::seconds(5));
  EXPECT_EQ(longestScan("MaxScanTime soon\n"), std::chrono::minutes(2));
  EXPECT_EQ(longestScan("MaxScanTime 18446744073709551615\n"), std::chrono::hours(24));
}

}  // namespace
}  // namespace quillo
