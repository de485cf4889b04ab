#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <csignal>
#include <string>
#include <vector>

#include "helper/Failure.h"
#include "helper/LineWriter.h"
#include "helper/OwnLog.h"
#include "posix/Text.h"
#include "tests/support/Threads.h"

namespace quillo::helper {
namespace {

// Sees all but one folder; notes when it was asked.
class OneEyed final : public Witness {
 public:
  bool sees(std::string_view folder, std::string_view) override {
    ++asked;
    return folder != hidden;
  }
  void forget() override { ++forgot; }

  std::string hidden;
  std::atomic<int> asked = 0;
  int forgot = 0;
};

// A packet pipe keeps what was written at once apart.
class HelperLines : public testing::Test {
 protected:
  HelperLines() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_DIRECT | O_NONBLOCK) == 0) {
      reading.reset(ends[0]);
      writing.reset(ends[1]);
    }
  }

  std::vector<std::string> writes() {
    std::vector<std::string> result;
    std::string packet(2UL * PIPE_BUF, '\0');
    ssize_t got = 0;
    while ((got = read(reading.get(), packet.data(), packet.size())) > 0) {
      result.emplace_back(packet.data(), static_cast<size_t>(got));
    }
    return result;
  }

  UniqueFd reading;
  UniqueFd writing;
  OneEyed witness;
};

TEST_F(HelperLines, AreFollowedByAnEmptyOneAsAMark) {
  LineWriter lines(writing.get(), -1, witness);
  EXPECT_TRUE(lines.hasWritten()) << "the first mark says that files are watched";
  EXPECT_TRUE(lines.mark());
  EXPECT_EQ(writes(), std::vector<std::string>{"\n"});
  EXPECT_FALSE(lines.hasWritten());
  lines.add("/a/", "b");
  lines.flush();
  EXPECT_TRUE(lines.hasWritten());
}

TEST_F(HelperLines, NeedNoMarkWhereNothingWasTold) {
  LineWriter lines(writing.get(), -1, witness);
  EXPECT_TRUE(lines.mark());
  witness.hidden = "/a/";
  lines.add("/a/", "b");
  lines.flush();
  EXPECT_FALSE(lines.hasWritten());
}

TEST_F(HelperLines, AreMarkedAgainWhereThereWasNoRoom) {
  LineWriter lines(writing.get(), -1, witness);
  while (lines.mark()) {
  }
  writes();
  EXPECT_TRUE(lines.mark());
}

TEST_F(HelperLines, AreWrittenTogetherWhereTheyFit) {
  LineWriter lines(writing.get(), -1, witness);
  EXPECT_TRUE(lines.add("/a/", "b"));
  EXPECT_TRUE(lines.add("/c/", "d"));
  EXPECT_TRUE(writes().empty());
  lines.flush();
  EXPECT_EQ(writes(), std::vector<std::string>{"/a/b\n/c/d\n"});
  lines.flush();
  EXPECT_TRUE(writes().empty());
}

TEST_F(HelperLines, AreNeverTornByAWrite) {
  LineWriter lines(writing.get(), -1, witness);
  for (int number = 0; number < 100; ++number) lines.add("/folder/", std::string(90, 'x'));
  lines.flush();
  size_t total = 0;
  for (const std::string& packet : writes()) {
    EXPECT_LE(packet.size(), static_cast<size_t>(PIPE_BUF));
    EXPECT_EQ(packet.size() % 99, 0U);
    EXPECT_EQ(packet.back(), '\n');
    total += packet.size();
  }
  EXPECT_EQ(total, 9900U);
}

TEST_F(HelperLines, MayBeAsLongAsAPathCanBe) {
  LineWriter lines(writing.get(), -1, witness);
  EXPECT_TRUE(lines.add("/", std::string(PATH_MAX - 2, 'x')));
  EXPECT_FALSE(lines.add("/", std::string(PATH_MAX - 1, 'x')));
  lines.flush();
  const auto packets = writes();
  ASSERT_EQ(packets.size(), 1U);
  EXPECT_EQ(packets[0].size(), static_cast<size_t>(PIPE_BUF));
}

TEST_F(HelperLines, ThatEscapesMakeLongWaitForAnEmptyPipe) {
  UniqueFd ends[2];
  int fds[2];
  ASSERT_EQ(pipe2(fds, O_CLOEXEC), 0);
  ends[0].reset(fds[0]);
  ends[1].reset(fds[1]);
  LineWriter lines(fds[1], -1, witness);
  const std::string name(PATH_MAX - 2, '\n');
  lines.add("/", "before");
  lines.add("/", name);
  std::string first(100, '\0');
  std::string second(65536, '\0');
  ssize_t gotSecond = 0;
  JoinedThreads reader([&] {
    const ssize_t got = read(fds[0], first.data(), first.size());
    first.resize(got > 0 ? static_cast<size_t>(got) : 0);
    gotSecond = read(fds[0], second.data(), second.size());
  });
  lines.flush();
  reader.join();
  EXPECT_EQ(first, "/before\n");
  EXPECT_EQ(second.substr(0, static_cast<size_t>(gotSecond)), escapedPathLine("/" + name) + "\n");
}

TEST_F(HelperLines, AreLeftOutIfNotSeenAtTheMomentOfWriting) {
  LineWriter lines(writing.get(), -1, witness);
  for (const char* folder : {"/a/", "/b/", "/c/"}) lines.add(folder, "file");
  EXPECT_EQ(witness.asked, 0);
  witness.hidden = "/b/";
  lines.flush();
  EXPECT_EQ(writes(), std::vector<std::string>{"/a/file\n/c/file\n"});
  EXPECT_EQ(witness.asked, 3);
  EXPECT_EQ(witness.forgot, 1);
}

TEST_F(HelperLines, OfWhichNoneIsSeenWriteNothing) {
  LineWriter lines(writing.get(), -1, witness);
  witness.hidden = "/a/";
  lines.add("/a/", "file");
  lines.flush();
  EXPECT_TRUE(writes().empty());
}

TEST_F(HelperLines, AreLookedAtOnlyOnceThereIsRoomForThem) {
  const std::string filling(PIPE_BUF, 'x');
  while (write(writing.get(), filling.data(), filling.size()) > 0) {
  }
  LineWriter lines(writing.get(), -1, witness);
  lines.add("/a/", "file");
  JoinedThreads reader([&] {
    // Until then nobody may have looked: the witness is asked by the other thread, behind the read.
    EXPECT_EQ(witness.asked, 0);
    writes();
  });
  lines.flush();
  reader.join();
  EXPECT_EQ(witness.asked, 1);
}

TEST_F(HelperLines, EndWhenNobodyReadsThem) {
  signal(SIGPIPE, SIG_IGN);
  LineWriter lines(writing.get(), -1, witness);
  lines.add("/", "x");
  reading.reset();
  EXPECT_THROW(lines.flush(), ReaderGone);
  signal(SIGPIPE, SIG_DFL);
}

TEST_F(HelperLines, EndWhenNobodyWantsThemThoughThePipeIsFull) {
  const std::string filling(PIPE_BUF, 'x');
  while (write(writing.get(), filling.data(), filling.size()) > 0) {
  }
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const UniqueFd end(ends[0]);
  UniqueFd(ends[1]).reset();
  LineWriter lines(writing.get(), end.get(), witness);
  lines.add("/", "x");
  EXPECT_THROW(lines.flush(), ReaderGone);
}

std::string spelled(std::string_view folder, std::string_view name) {
  std::string line;
  appendSpelled(line, folder, name);
  EXPECT_EQ(line.size(), spelledLength(folder, name)) << line;
  EXPECT_EQ(line.find('\n'), std::string::npos) << line;
  return line;
}

TEST(HelperSpelling, LeavesAPathAsItIs) {
  EXPECT_EQ(spelled("/a/", "b\\x0A\xff"), "/a/b\\x0A\xff");
  EXPECT_EQ(spelled("/", "x"), "/x");
}

TEST(HelperSpelling, IsUndoneByItsReader) {
  for (const std::string folder : {"/", "/a/", "/two\nlines/", "/back\\slash\n/", "/\xff\n\n/"}) {
    for (const std::string name : {"x", "\n", "a\\x0Ab", "a\nb\\", "\\x5Cx0A\n", "\xfe"}) {
      EXPECT_EQ(pathOfLine(spelled(folder, name)), folder + name);
      EXPECT_EQ(spelled(folder, name), escapedPathLine(folder + name));
    }
  }
}

TEST(HelperSpelling, KeepsAFileFromLookingLikeAResourceFork) {
  EXPECT_EQ(spelled("/a/..namedfork/", "rsrc"), "/a/..namedfork/./rsrc");
  EXPECT_EQ(spelled("/..namedfork/", "rsrc"), "/..namedfork/./rsrc");
  EXPECT_EQ(spelled("/a\n/..namedfork/", "rsrc"), "\\/a\\x0A/..namedfork/./rsrc");
  EXPECT_EQ(spelled("/a/x..namedfork/", "rsrc"), "/a/x..namedfork/rsrc");
  EXPECT_EQ(spelled("/a/..namedfork/", "rsrc2"), "/a/..namedfork/rsrc2");
}

TEST(HelperSystemLog, ShowsUnprintableBytesAsOctal) {
  EXPECT_EQ(escaped("/plain text"), "/plain text");
  EXPECT_EQ(escaped("a\nb\\c\x7f\xff"), "a\\012b\\134c\\177\\377");
}

TEST(HelperOwnLog, KnowsTheNamesThatARotationGives) {
  for (const char* suffix : {".0", ".9", ".12", ".0.bz2", ".12.bz2"}) {
    EXPECT_TRUE(isRotationSuffix(suffix)) << suffix;
  }
  for (const char* suffix : {"", ".", ".bz2", ".a", ".123", ".0.gz", "0", ".0.bz2.exe", ".-1"}) {
    EXPECT_FALSE(isRotationSuffix(suffix)) << suffix;
  }
}

}  // namespace
}  // namespace quillo::helper
