#include <gtest/gtest.h>

#include "tools/newsyslog/Configuration.h"

namespace quillo {
namespace {

std::string refusal(const std::string& text) {
  try {
    parseConfiguration(text, "conf");
  } catch (const ConfigurationError& failure) {
    return failure.what();
  }
  return "";
}

TEST(NewsyslogConfiguration, IsUnderstoodAsTheAgentWritesIt) {
  const auto entries = parseConfiguration(
      "# logfilename [owner:group] mode count size when flags [/pid_file] [sig_num]\n"
      "/home/u/Library/Logs/VantrelQuillo-scan.log\t1000:1001\t640\t3\t5120\t*\tCJN",
      "conf");
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].path, "/home/u/Library/Logs/VantrelQuillo-scan.log");
  EXPECT_EQ(entries[0].attributes.user, 1000U);
  EXPECT_EQ(entries[0].attributes.group, 1001U);
  EXPECT_EQ(entries[0].attributes.mode, 0640U);
  EXPECT_EQ(entries[0].count, 3);
  EXPECT_EQ(entries[0].sizeLimit, 5120U);
  EXPECT_TRUE(entries[0].createIfMissing);
  EXPECT_TRUE(entries[0].compress);
}

TEST(NewsyslogConfiguration, KeepsBlanksInThePathBeforeATab) {
  const auto entries = parseConfiguration("/home/a b/x y.log\t640\t3\t1\t*\tN\n", "conf");
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].path, "/home/a b/x y.log");
  EXPECT_FALSE(entries[0].attributes.user.has_value());
  EXPECT_FALSE(entries[0].createIfMissing);
  EXPECT_FALSE(entries[0].compress);
}

TEST(NewsyslogConfiguration, TakesBlanksForSeparatorsInALineWithoutTabs) {
  const auto entries =
      parseConfiguration("\n   # nothing\n  /var/log/x  root:root  600 7  * *  JN\r\n", "conf");
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].path, "/var/log/x");
  EXPECT_EQ(entries[0].attributes.user, 0U);
  EXPECT_EQ(entries[0].count, 7);
  EXPECT_FALSE(entries[0].sizeLimit.has_value());
}

TEST(NewsyslogConfiguration, TakesASizeAsBigAsANumberCanSayIt) {
  EXPECT_EQ(parseConfiguration("/x 640 3 9223372036854775807 * N", "c")[0].sizeLimit,
            9223372036854775807U);
}

TEST(NewsyslogConfiguration, NamesFileLineAndReasonOfWhatItRefuses) {
  EXPECT_EQ(refusal("# a\n\nlog\t640\t3\t1\t*\tN"), "conf:3: the log \"log\" is no absolute path");
  EXPECT_EQ(refusal("/x\t648\t3\t1\t*\tN"),
            "conf:1: the mode \"648\" is no octal number up to 777");
  EXPECT_EQ(refusal("/x\t640\t0\t1\t*\tN"), "conf:1: the count \"0\" is no number from 1 to 999");
  EXPECT_EQ(refusal("/x\t640\t3\t-1\t*\tN"),
            "conf:1: the size \"-1\" is neither a number of kilobytes nor \"*\"");
  EXPECT_EQ(refusal("/x\t640\t3\t1\t@T00\tN"),
            "conf:1: the time \"@T00\" is not supported, only \"*\"");
  EXPECT_EQ(refusal("/x\t640\t3\t1\t*\tZN"), "conf:1: the flag \"Z\" is not among C, J and N");
  EXPECT_EQ(refusal("/x\t640\t3\t1\t*\tCJ"),
            "conf:1: the flag N is missing: this program signals no process");
  EXPECT_EQ(refusal("/x\tno-such-user:\t640\t3\t1\t*\tN"),
            "conf:1: there is no user \"no-such-user\"");
  EXPECT_EQ(refusal("/x\t:no-such-group\t640\t3\t1\t*\tN"),
            "conf:1: there is no group \"no-such-group\"");
  EXPECT_EQ(refusal("/x/\t640\t3\t1\t*\tN"), "conf:1: \"/x/\" is not the path of a file");
  EXPECT_EQ(refusal("/x\t640\t3\t1\t*"),
            "conf:1: mode, count, size, when and flags have to follow the log and its owner, but 4 "
            "fields do");
  EXPECT_NE(refusal("/x\t640\t3\t1\t*\tN\t/pid"), "");
  EXPECT_NE(refusal("/x"), "");
}

}  // namespace
}  // namespace quillo
