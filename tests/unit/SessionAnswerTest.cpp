#include <gtest/gtest.h>

#include "clamav/ClamConf.h"
#include "clamav/ScanSession.h"

namespace quillo {
namespace {

using namespace std::chrono_literals;
using Kind = SessionAnswer::Kind;

TEST(SessionAnswer, ReadsWhatADaemonAnswers) {
  const auto clean = SessionAnswer::parse("3: fd[11]: OK");
  ASSERT_TRUE(clean);
  EXPECT_EQ(clean->number, 3U);
  EXPECT_EQ(clean->kind, Kind::clean);
  const auto infected = SessionAnswer::parse("12: fd[10]: Some.Threat-1.UNOFFICIAL FOUND");
  ASSERT_TRUE(infected);
  EXPECT_EQ(infected->number, 12U);
  EXPECT_EQ(infected->kind, Kind::infected);
  EXPECT_EQ(infected->text, "Some.Threat-1.UNOFFICIAL");
  EXPECT_EQ(SessionAnswer::parse("2: PONG")->kind, Kind::pong);
}

TEST(SessionAnswer, ReadsWhyAFileWasNotScanned) {
  const auto named = SessionAnswer::parse("4: fd[12]: Not a regular file ERROR");
  ASSERT_TRUE(named);
  EXPECT_EQ(named->kind, Kind::failed);
  EXPECT_EQ(named->text, "Not a regular file");
  const auto nameless = SessionAnswer::parse("8: No file descriptor received. ERROR");
  ASSERT_TRUE(nameless);
  EXPECT_EQ(nameless->text, "No file descriptor received.");
}

TEST(SessionAnswer, IsNothingElse) {
  for (const char* text :
       {"", "OK", "1:", "1: ", "1: OK", "x: fd[9]: OK", "-1: fd[9]: OK", " 1: fd[9]: OK",
        "1 fd[9]: OK", "1: fd[9]: ok", "1: fd[9]:  OK", "1: fd[9]: OK ", "1: fd[9]: FOUND",
        "1: fd[9]:  FOUND", "1: /etc/passwd: OK", "1: COMMAND READ TIMED OUT",
        "18446744073709551616: fd[9]: OK"}) {
    EXPECT_FALSE(SessionAnswer::parse(text)) << text;
  }
}

TEST(SessionManners, AreTheDefaultsOfTheDaemonWhereNothingIsSaid) {
  const SessionManners manners = SessionManners::of(ClamConf());
  EXPECT_EQ(manners.threads, 10U);
  EXPECT_EQ(manners.queue, 100U);
  EXPECT_EQ(manners.silence, 30s);
}

TEST(SessionManners, HeedTheShortestOfTheDaemonsTimeOuts) {
  const auto silence = [](const char* lines) {
    return SessionManners::of(ClamConf::parse(lines)).silence;
  };
  EXPECT_EQ(silence("CommandReadTimeout 5\n"), 5s);
  EXPECT_EQ(silence("ReadTimeout 7\n"), 7s);
  EXPECT_EQ(silence("IdleTimeout 9\nCommandReadTimeout 0\n"), 9s);
  EXPECT_EQ(silence("IdleTimeout 0\nCommandReadTimeout 0\nReadTimeout 0\n"), 0s);
}

TEST(SessionManners, TakeNoNonsense) {
  const SessionManners manners =
      SessionManners::of(ClamConf::parse("MaxThreads 0\nMaxQueue 99999999999999\n"));
  EXPECT_EQ(manners.threads, 1U);
  EXPECT_LE(manners.queue, 100000U);
}

}  // namespace
}  // namespace quillo
