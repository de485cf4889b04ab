#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

#include "clamav/VerdictChannel.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

using Kind = Verdict::Kind;
using Whereabouts = Verdict::Whereabouts;

class VerdictChannelTest : public testing::Test {
 protected:
  VerdictChannelTest()
      : receiver(*VerdictReceiver::make()), sender(UniqueFd(dup(receiver.scannersEnd()))) {
    receiver.letGo();
  }

  static Verdict infected(const std::string& line) {
    Verdict verdict = Verdict::parse(line);
    verdict.path =
        "/u/a\xFF"
        "b";
    verdict.target = "/elsewhere/c";
    return verdict;
  }

  void endSender() { sender = VerdictSender(UniqueFd()); }

  VerdictReceiver receiver;
  VerdictSender sender;
};

TEST_F(VerdictChannelTest, CarriesWhatTheLineCannot) {
  sender.report(infected("/u/a\\xFFb: Eicar FOUND"));
  const Verdict verdict = receiver.understand("/u/a\\xFFb: Eicar FOUND");
  EXPECT_EQ(verdict.kind, Kind::infected);
  EXPECT_EQ(verdict.path,
            "/u/a\xFF"
            "b");
  EXPECT_EQ(verdict.file(), "/elsewhere/c");
  EXPECT_EQ(verdict.line, "/u/a\\xFFb: Eicar FOUND");
}

TEST_F(VerdictChannelTest, CarriesTheLimitThatKeptAFileFromBeingScanned) {
  Verdict large = Verdict::parse("/u/a: Not scanned: larger than the limit of 5 GB");
  large.limit = Verdict::Limit::fileSize;
  large.largestFile = 5ULL << 30U;
  sender.report(large);
  const Verdict verdict = receiver.understand(large.line);
  EXPECT_EQ(verdict.limit, Verdict::Limit::fileSize);
  EXPECT_EQ(verdict.largestFile, 5ULL << 30U);
}

TEST_F(VerdictChannelTest, CarriesWhetherTheDaemonHadGone) {
  for (const auto gone :
       {Verdict::DaemonGone::no, Verdict::DaemonGone::before, Verdict::DaemonGone::meanwhile}) {
    Verdict left = Verdict::parse("/u/a: Not scanned: why");
    left.daemonGone = gone;
    sender.report(left);
    EXPECT_EQ(receiver.understand(left.line).daemonGone, gone);
  }
}

TEST_F(VerdictChannelTest, KnowsTheRecordsOfAScannerThatReportsNoLimits) {
  const auto field = [](const std::string& bytes) {
    const auto length = static_cast<std::uint32_t>(bytes.size());
    return std::string(reinterpret_cast<const char*>(&length), sizeof length) + bytes;
  };
  std::string body("V\0", 2);
  for (const std::string& each :
       {std::string(1, static_cast<char>(Kind::notScanned)), std::string(1, '\0'),
        std::string("/u/a: Not scanned: why"), std::string("/u/a"), std::string(),
        std::string("why"), std::string(), std::string()}) {
    body += field(each);
  }
  const std::string record = field(body);
  ASSERT_EQ(send(sender.descriptor(), record.data(), record.size(), 0),
            static_cast<ssize_t>(record.size()));
  const Verdict verdict = receiver.understand("/u/a: Not scanned: why");
  EXPECT_EQ(verdict.kind, Kind::notScanned);
  EXPECT_EQ(verdict.reason, "why");
  EXPECT_EQ(verdict.limit, Verdict::Limit::none);
}

TEST_F(VerdictChannelTest, CarriesProgressToWhoTakesIt) {
  ScanProgress progress;
  progress.clean = 1ULL << 40U;
  progress.found = 2;
  progress.notScanned = 3;
  progress.bytes = 4;
  progress.path = "/u/a\xFF";
  progress.holds = true;
  progress.cleanBytes = 5;
  sender.reportProgress(progress);
  std::vector<ScanProgress> taken;
  receiver.setProgressHandler([&taken](const ScanProgress& each) { taken.push_back(each); });
  EXPECT_TRUE(receiver.drain());
  EXPECT_EQ(taken, std::vector<ScanProgress>{progress});
}

TEST_F(VerdictChannelTest, TakesNoOtherRecordForTheOutcomeOfAMove) {
  const Verdict verdict = infected("/u/a: Eicar FOUND");
  sender.announceMove(verdict);
  JoinedThreads scanner([&] {
    sender.mayMove();
    sender.reportProgress({});
    // Of a scanner that is newer than this reader.
    const std::string unknown("\x02\0\0\0X\0", 6);
    send(sender.descriptor(), unknown.data(), unknown.size(), 0);
    Verdict outcome = verdict;
    outcome.whereabouts = Whereabouts::moved;
    sender.reportOutcome(outcome);
  });
  EXPECT_EQ(receiver.understand("/u/a: Eicar FOUND").whereabouts, Whereabouts::moved);
}

TEST_F(VerdictChannelTest, LeavesLinesBetweenTheRecordsToThemselves) {
  sender.report(infected("/x/h/a: Eicar FOUND"));
  EXPECT_EQ(receiver.understand("/h/b: OK").path, "/h/b");
  EXPECT_EQ(receiver.understand("/h/a: Eicar FOUND").path, "/h/a");
  EXPECT_EQ(receiver.understand("/x/h/a: Eicar FOUND").file(), "/elsewhere/c");
}

TEST_F(VerdictChannelTest, IsReadOnceForAChunkOfLines) {
  sender.report(infected("/h/a: Eicar FOUND"));
  receiver.chunkRead();
  sender.report(infected("/h/b: Eicar FOUND"));
  EXPECT_EQ(receiver.understand("/h/a: Eicar FOUND").file(), "/elsewhere/c");
  EXPECT_EQ(receiver.understand("/h/c: OK").kind, Kind::clean);
  EXPECT_EQ(receiver.understand("/h/b: Eicar FOUND").path, "/h/b");
  receiver.chunkRead();
  EXPECT_EQ(receiver.understand("/h/b: Eicar FOUND").file(), "/elsewhere/c");
}

TEST_F(VerdictChannelTest, KnowsALineThatWasTooLongToBeReadWhole) {
  const std::string line = "/" + std::string(5000, 'n') + ": Eicar FOUND";
  sender.report(infected(line));
  EXPECT_EQ(receiver.understand(line.substr(0, 4096)).kind, Kind::message);
  EXPECT_EQ(receiver.understand(line.substr(4096)).file(), "/elsewhere/c");
}

TEST_F(VerdictChannelTest, LetsAFileMoveOnlyOnceItsLineHasBeenTaken) {
  const Verdict verdict = infected("/u/a: Eicar FOUND");
  sender.announceMove(verdict);
  char byte = 0;
  EXPECT_EQ(recv(sender.descriptor(), &byte, 1, MSG_DONTWAIT | MSG_PEEK), -1);
  bool allowed = false;
  JoinedThreads scanner([&] {
    allowed = sender.mayMove();
    Verdict outcome = verdict;
    outcome.whereabouts = Whereabouts::moved;
    outcome.destination = "/q/a";
    sender.reportOutcome(outcome);
  });
  const Verdict known = receiver.understand("/u/a: Eicar FOUND");
  scanner.join();
  EXPECT_TRUE(allowed);
  EXPECT_EQ(known.whereabouts, Whereabouts::moved);
  EXPECT_EQ(known.destination, "/q/a");
}

TEST_F(VerdictChannelTest, KeepsTheFileThatTheReaderWantsToStay) {
  const Verdict verdict = infected("/u/a: Eicar FOUND");
  for (const bool wanted : {false, true}) {
    sender.announceMove(verdict);
    bool allowed = false;
    JoinedThreads scanner([&] {
      allowed = sender.mayMove();
      Verdict outcome = verdict;
      outcome.whereabouts = allowed ? Whereabouts::moved : Whereabouts::inPlace;
      sender.reportOutcome(outcome);
    });
    const Verdict known = receiver.understand("/u/a: Eicar FOUND", [&](const Verdict& infection) {
      EXPECT_EQ(infection.file(), "/elsewhere/c");
      return wanted;
    });
    scanner.join();
    EXPECT_EQ(allowed, wanted);
    EXPECT_EQ(sender.wasRefused(), !wanted);
    EXPECT_EQ(known.whereabouts, wanted ? Whereabouts::moved : Whereabouts::inPlace);
  }
}

TEST_F(VerdictChannelTest, TakesALateWordForNoOtherLine) {
  using namespace std::chrono_literals;
  const Verdict first = infected("/u/a: Eicar FOUND");
  sender.announceMove(first);
  EXPECT_FALSE(sender.mayMove(1ms));
  sender.reportOutcome(first);
  sender.announceMove(infected("/u/b: Eicar FOUND"));
  receiver.understand("/u/a: Eicar FOUND");
  EXPECT_FALSE(sender.mayMove(1ms));
}

TEST_F(VerdictChannelTest, LooksForTheFileWhenTheScannerEndsOverItsMove) {
  for (const bool isThere : {true, false}) {
    Verdict verdict = infected("/u/a: Eicar FOUND");
    verdict.target = isThere ? "/proc/self/exe" : "/proc/self/nothing";
    sender.announceMove(verdict);
    endSender();
    EXPECT_EQ(receiver.understand("/u/a: Eicar FOUND").whereabouts,
              isThere ? Whereabouts::notMoved : Whereabouts::moved);
    receiver = *VerdictReceiver::make();
    sender = VerdictSender(UniqueFd(dup(receiver.scannersEnd())));
    receiver.letGo();
  }
}

TEST_F(VerdictChannelTest, WaitsForNoMoveThatHasNoEnd) {
  receiver = *VerdictReceiver::make(std::chrono::milliseconds(1));
  sender = VerdictSender(UniqueFd(dup(receiver.scannersEnd())));
  receiver.letGo();
  sender.announceMove(infected("/u/a: Eicar FOUND"));
  EXPECT_EQ(receiver.understand("/u/a: Eicar FOUND").whereabouts, Whereabouts::unsaid);
  // What is said too late is taken for no other file's.
  Verdict late = infected("/u/a: Eicar FOUND");
  late.whereabouts = Whereabouts::moved;
  sender.reportOutcome(late);
  sender.report(infected("/u/b: Eicar FOUND"));
  EXPECT_EQ(receiver.understand("/u/b: Eicar FOUND").whereabouts, Whereabouts::unsaid);
}

TEST_F(VerdictChannelTest, KeepsTheFileWhenTheReaderIsGone) {
  sender.announceMove(infected("/u/a: Eicar FOUND"));
  receiver = *VerdictReceiver::make();
  EXPECT_FALSE(sender.mayMove());
}

TEST_F(VerdictChannelTest, BelievesTheLineAloneWhenTheScannerSaysNothing) {
  endSender();
  const Verdict verdict = receiver.understand("/u/a: Eicar FOUND");
  EXPECT_EQ(verdict.path, "/u/a");
  EXPECT_EQ(verdict.whereabouts, Whereabouts::unsaid);
}

TEST_F(VerdictChannelTest, EndsAtARecordThatIsNone) {
  const std::string nonsense = "\xFF\xFF\xFF\xFFgarbage";
  ASSERT_GT(send(sender.descriptor(), nonsense.data(), nonsense.size(), 0), 0);
  EXPECT_EQ(receiver.understand("/u/a: Eicar FOUND").path, "/u/a");
}

TEST_F(VerdictChannelTest, PassesOverRecordsWhoseLinesNeverCame) {
  sender.report(infected("/u/lost: Eicar FOUND"));
  sender.announceMove(infected("/u/lost too: Eicar FOUND"));
  sender.announceMove(infected("/u/b: Eicar FOUND"));
  bool allowed = false;
  JoinedThreads scanner([&] {
    allowed = sender.mayMove();
    Verdict outcome = infected("/u/b: Eicar FOUND");
    outcome.whereabouts = Whereabouts::moved;
    outcome.destination = "/q/b";
    sender.reportOutcome(outcome);
  });
  const Verdict verdict = receiver.understand("/u/b: Eicar FOUND");
  scanner.join();
  EXPECT_EQ(verdict.file(), "/elsewhere/c");
  EXPECT_EQ(verdict.destination, "/q/b");
  EXPECT_TRUE(allowed);
}

TEST_F(VerdictChannelTest, TakesNoFileForMovedWhoseLineIsNotKnown) {
  sender.report(infected("/u/a: Eicar FOUND"));
  EXPECT_EQ(receiver.understand("torn: Eicar FOUND").whereabouts, Whereabouts::notMoved);
}

TEST_F(VerdictChannelTest, AllowsNoMoveForAPieceOfALineWithoutItsVerdict) {
  const std::string line = "/" + std::string(5000, 'n') + ": Eicar FOUND";
  sender.announceMove(infected(line));
  EXPECT_EQ(receiver.understand("UND").kind, Kind::message);
  EXPECT_FALSE(sender.mayMove(std::chrono::milliseconds(0)));
}

TEST_F(VerdictChannelTest, TakesAFileThatCannotBeLookedAtForLeft) {
  Verdict verdict = infected("/u/a: Eicar FOUND");
  verdict.target = "/" + std::string(5000, 'x');
  sender.announceMove(verdict);
  endSender();
  EXPECT_EQ(receiver.understand("/u/a: Eicar FOUND").whereabouts, Whereabouts::notMoved);
}

TEST_F(VerdictChannelTest, KeepsWhatItDrainedForTheLinesThatFollow) {
  sender.report(infected("/u/a: Eicar FOUND"));
  EXPECT_TRUE(receiver.drain());
  endSender();
  EXPECT_FALSE(receiver.drain());
  EXPECT_EQ(receiver.understand("/u/a: Eicar FOUND").file(), "/elsewhere/c");
}

}  // namespace
}  // namespace quillo
