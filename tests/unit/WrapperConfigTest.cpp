#include <gtest/gtest.h>

#include "clamav/ClamConf.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/clamdscan/TreeSettings.h"

namespace quillo::wrapper {
namespace {

constexpr std::uint64_t mebi = 1024ULL * 1024;

std::uint64_t largest(std::string_view text) {
  return ScanLimits::of(ClamConf::parse(text)).largestFile;
}

TEST(WrapperConfig, ReadsSizesWithTheirUnits) {
  EXPECT_EQ(largest("MaxFileSize 94\n"), 94U);
  EXPECT_EQ(largest("MaxFileSize 3k"), 3U * 1024);
  EXPECT_EQ(largest("MaxFileSize\t\"5M\"\r\n"), 5 * mebi);
  EXPECT_EQ(largest("MaxFileSize 1G\nMaxScanSize 2G"), 1024 * mebi);
}

TEST(WrapperConfig, TakesTheEnginesDefaults) {
  EXPECT_EQ(largest(""), 100 * mebi);
  EXPECT_EQ(largest("MaxFileSize 1000M"), 400 * mebi);
}

TEST(WrapperConfig, TakesTheSmallerOfTwoLimitsAndZeroForNone) {
  EXPECT_EQ(largest("MaxFileSize 10M\nMaxScanSize 2M"), 2 * mebi);
  EXPECT_EQ(largest("MaxFileSize 0\nMaxScanSize 7M"), 7 * mebi);
}

TEST(WrapperConfig, KnowsTheSizeThatTheEngineNeverTakes) {
  EXPECT_EQ(largest("MaxFileSize 0\nMaxScanSize 0"), 2147483645U);
  EXPECT_EQ(largest("MaxFileSize 5G\nMaxScanSize 5G"), 2147483645U);
}

TEST(WrapperConfig, LetsTheFirstOfTwoLinesCountAndSkipsComments) {
  EXPECT_EQ(largest("#MaxFileSize 1\n  MaxFileSize 100\nMaxFileSize 1000\n"), 100U);
}

TEST(WrapperConfig, TakesNoNonsenseForASize) {
  const auto file = ClamConf::parse("A 1KB\nB x\nC 99999999999999999999\nD 18446744073709551615G");
  for (const char* key : {"A", "B", "C", "D", "E"}) {
    EXPECT_EQ(file.size(key), std::nullopt) << key;
  }
}

TEST(WrapperConfig, SaysSizesInRoundUnits) {
  EXPECT_EQ(sizeText(100 * mebi), "100 MB");
  EXPECT_EQ(sizeText(3ULL * 1024), "3 KB");
  EXPECT_EQ(sizeText(1024 * mebi), "1 GB");
  EXPECT_EQ(sizeText(2047 * mebi), "2047 MB");
  EXPECT_EQ(sizeText(1000000), "1000000 bytes");
  EXPECT_EQ(sizeText(0), "0 bytes");
}

TEST(WrapperConfig, CallsTheSizeThatTheEngineNeverTakesTwoGigabytes) {
  EXPECT_EQ(sizeText(largest("MaxFileSize 0\nMaxScanSize 0")), "2 GB");
}

TEST(WrapperTree, ReadsTheLimitsOfTheDaemonThatAnswers) {
  const TemporaryFolder root;
  root.write("etc/clamd.conf", "LocalSocket /s\nMaxFileSize 1M\nMaxThreads 3\n");
  root.write("daemon.conf", "MaxFileSize 2K\nMaxThreads 4\nUser scanner\n");
  root.write("etc/front.conf",
             "RealClient /opt/clamdscan\nDaemonConfig " + root.at("daemon.conf") + "\n");
  const TreeSettings tree = TreeSettings::at(root.path());
  EXPECT_EQ(tree.realClient, "/opt/clamdscan");
  EXPECT_EQ(tree.limits.largestFile, 2048U);
  EXPECT_EQ(tree.configuration, root.at("etc/clamd.conf"));
  EXPECT_EQ(tree.daemonSocket, "/s");
  EXPECT_EQ(tree.manners.threads, 4U);
  EXPECT_EQ(tree.daemonAccount, "scanner");
}

TEST(WrapperTree, KeepsItsCopyOfTheLimitsWhereTheDaemonsOwnFileCannotBeRead) {
  const TemporaryFolder root;
  root.write("etc/clamd.conf", "LocalSocket /s\nMaxFileSize 1M\n");
  root.write("etc/front.conf", "DaemonConfig " + root.at("gone.conf") + "\n");
  EXPECT_EQ(TreeSettings::at(root.path()).limits.largestFile, mebi);
}

TEST(WrapperTree, StandsWithoutAFileOfItsOwn) {
  const TemporaryFolder root;
  root.write("etc/clamd.conf", "MaxFileSize 1M\n");
  const TreeSettings tree = TreeSettings::at(root.path());
  EXPECT_EQ(tree.realClient, "/usr/bin/clamdscan");
  EXPECT_EQ(tree.limits.largestFile, mebi);
  EXPECT_EQ(tree.manners.threads, 10U);
  EXPECT_EQ(tree.daemonAccount, "");
}

TEST(WrapperTree, IsFoundByTheLinkThatItWasStartedBy) {
  const TemporaryFolder tree;
  const TemporaryFolder installation;
  tree.write("etc/clamd.conf", "");
  const std::string program = installation.write("engine-tools/clamdscan");
  const std::string link = tree.link("bin/clamdscan", program);
  EXPECT_EQ(TreeSettings::find({link, program}).configuration, tree.at("etc/clamd.conf"));
}

TEST(WrapperTree, IsFoundByTheProgramWhenTheLinkStandsElsewhere) {
  const TemporaryFolder tree;
  const TemporaryFolder elsewhere;
  tree.write("etc/clamd.conf", "");
  const std::string program = tree.write("bin/clamdscan");
  const std::string link = elsewhere.link("bin/clamdscan", program);
  EXPECT_EQ(TreeSettings::find({link, program}).configuration, tree.at("etc/clamd.conf"));
}

}  // namespace
}  // namespace quillo::wrapper
