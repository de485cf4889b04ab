#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "posix/UniqueFd.h"
#include "tests/fakes/tools/LogSandbox.h"
#include "tests/support/SystemCalls.h"
#include "tools/newsyslog/LogRotation.h"

namespace quillo {
namespace {

struct Ended : std::runtime_error {
  Ended() : std::runtime_error("the program ended here") {}
};

// Ends the program before the nth change that it makes to the folder.
class EndingFolder final : public LogFolder {
 public:
  EndingFolder(LogFolder& folder, int changes) : folder_(folder), left_(changes) {}

  std::optional<std::uint64_t> sizeOf(const std::string& name) override {
    return folder_.sizeOf(name);
  }
  Writer writerOf(const std::string& name) override { return folder_.writerOf(name); }
  bool beginsWithArchive(const std::string& name, const std::string& archive) override {
    return folder_.beginsWithArchive(name, archive);
  }
  void rename(const std::string& from, const std::string& to) override {
    step();
    folder_.rename(from, to);
  }
  void replace(const std::string& from, const std::string& to) override {
    step();
    folder_.replace(from, to);
  }
  void remove(const std::string& name) override {
    step();
    folder_.remove(name);
  }
  void createEmpty(const std::string& name, const LogAttributes& attributes) override {
    step();
    folder_.createEmpty(name, attributes);
  }
  std::uint64_t compress(const std::string& name, const std::string& before,
                         const std::string& archive, const LogAttributes& attributes) override {
    step();
    return folder_.compress(name, before, archive, attributes);
  }
  void sync() override { folder_.sync(); }

 private:
  void step() {
    if (left_-- == 0) {
      throw Ended();
    }
  }

  LogFolder& folder_;
  int left_;
};

void rotate(const LogSandbox& sandbox, int count = 3) {
  const LogEntry entry = sandbox.entry(count);
  const auto folder = openLogFolder(sandbox.folder(), false);
  LogRotation(entry, *folder).run(true);
}

// False when the run ended before it was through.
bool rotateUntil(const LogSandbox& sandbox, int changes) {
  const LogEntry entry = sandbox.entry();
  const auto folder = openLogFolder(sandbox.folder(), false);
  EndingFolder ending(*folder, changes);
  try {
    LogRotation(entry, ending).run(true);
    return true;
  } catch (const Ended&) {
    return false;
  }
}

mode_t modeOf(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

TEST(Newsyslog, CompressesTheLogAndLeavesANewOne) {
  const LogSandbox sandbox;
  const std::string content = LogSandbox::lines(1, 5000);
  sandbox.write("log", content);
  rotate(sandbox);
  EXPECT_EQ(sandbox.unpacked("log.0.bz2"), content);
  EXPECT_EQ(sandbox.read("log"), "");
  EXPECT_FALSE(sandbox.has("log.0"));
  EXPECT_EQ(modeOf(sandbox.path("log")), 0640U);
  EXPECT_EQ(modeOf(sandbox.path("log.0.bz2")), 0640U);
}

TEST(Newsyslog, KeepsAsManyOldVersionsAsItIsConfiguredTo) {
  const LogSandbox sandbox;
  for (int round = 0; round < 5; ++round) {
    sandbox.write("log", LogSandbox::lines(round * 1000, 2000));
    rotate(sandbox);
  }
  EXPECT_EQ(sandbox.everything(9), LogSandbox::lines(2000, 2000) + LogSandbox::lines(3000, 2000) +
                                       LogSandbox::lines(4000, 2000));
  EXPECT_TRUE(sandbox.has("log.2.bz2"));
  EXPECT_FALSE(sandbox.has("log.3.bz2"));
}

TEST(Newsyslog, WaitsUntilTheLogHasReachedItsSize) {
  const LogSandbox sandbox;
  sandbox.write("log", std::string(1023, 'x'));
  rotate(sandbox);
  EXPECT_FALSE(sandbox.has("log.0.bz2"));
  sandbox.write("log", std::string(1024, 'x'));
  rotate(sandbox);
  EXPECT_TRUE(sandbox.has("log.0.bz2"));
}

TEST(Newsyslog, MakesAMissingLogOnlyWhenAskedTo) {
  const LogSandbox sandbox;
  LogEntry entry = sandbox.entry();
  const auto folder = openLogFolder(sandbox.folder(), false);
  LogRotation(entry, *folder).run(false);
  EXPECT_FALSE(sandbox.has("log"));
  entry.createIfMissing = false;
  LogRotation(entry, *folder).run(true);
  EXPECT_FALSE(sandbox.has("log"));
  entry.createIfMissing = true;
  LogRotation(entry, *folder).run(true);
  EXPECT_TRUE(sandbox.has("log"));
  EXPECT_EQ(modeOf(sandbox.path("log")), 0640U);
}

TEST(Newsyslog, LeavesOldVersionsAsTheyAreWithoutCompression) {
  const LogSandbox sandbox;
  LogEntry entry = sandbox.entry();
  entry.compress = false;
  sandbox.write("log", LogSandbox::lines(1, 2000));
  const auto folder = openLogFolder(sandbox.folder(), false);
  LogRotation(entry, *folder).run(true);
  EXPECT_EQ(sandbox.read("log.0"), LogSandbox::lines(1, 2000));
}

TEST(Newsyslog, LosesNothingWhereverItEnds) {
  bool through = false;
  int steps = 0;
  for (; !through; ++steps) {
    const LogSandbox sandbox;
    std::string expected;
    for (int round = 0; round < 3; ++round) {
      sandbox.write("log", LogSandbox::lines(round * 1000, 2000));
      rotate(sandbox);
      expected += round > 0 ? LogSandbox::lines(round * 1000, 2000) : "";
    }
    sandbox.write("log", LogSandbox::lines(3000, 2000));
    expected += LogSandbox::lines(3000, 2000);
    through = rotateUntil(sandbox, steps);
    rotate(sandbox);
    EXPECT_EQ(sandbox.everything(2), expected) << "ended before change " << steps;
    EXPECT_FALSE(sandbox.has("log.0")) << "ended before change " << steps;
    EXPECT_FALSE(sandbox.has("log.0.bz2.part"));
    EXPECT_FALSE(sandbox.has("log.3.bz2"));
    EXPECT_TRUE(sandbox.has("log"));
  }
  EXPECT_GT(steps, 7);
}

TEST(Newsyslog, GivesTheOldestVersionUpLast) {
  int interrupted = 0;
  for (int first = 0; first < 6; ++first) {
    for (int second = 0; second < 6; ++second) {
      const LogSandbox sandbox;
      for (int round = 0; round < 3; ++round) {
        sandbox.write("log", LogSandbox::lines(round * 1000, 2000));
        rotate(sandbox);
      }
      sandbox.write("log", LogSandbox::lines(3000, 2000));
      rotateUntil(sandbox, first);
      rotateUntil(sandbox, second);
      if (sandbox.read("log").empty()) {
        continue;
      }
      ++interrupted;
      EXPECT_EQ(sandbox.everything(3).rfind(LogSandbox::lines(0, 2000), 0), 0U)
          << "ended before change " << first << ", then before change " << second;
    }
  }
  EXPECT_GT(interrupted, 0);
}

TEST(Newsyslog, LosesNothingWhenItEndsAgainAndAgain) {
  const LogSandbox sandbox;
  sandbox.write("log", LogSandbox::lines(0, 2000));
  rotate(sandbox);
  sandbox.write("log", LogSandbox::lines(1000, 2000));
  int runs = 1;
  while (!rotateUntil(sandbox, 3) && runs < 20) {
    ++runs;
  }
  EXPECT_LT(runs, 20);
  EXPECT_GT(runs, 1);
  EXPECT_EQ(sandbox.everything(2), LogSandbox::lines(0, 2000) + LogSandbox::lines(1000, 2000));
}

TEST(Newsyslog, LeavesAFileThatIsStillWrittenTo) {
  const LogSandbox sandbox;
  sandbox.write("log", LogSandbox::lines(1, 2000));
  UniqueFd writer(open(sandbox.path("log").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
  rotate(sandbox);
  EXPECT_FALSE(sandbox.has("log.0.bz2"));
  ASSERT_EQ(write(writer.get(), "late\n", 5), 5);
  rotate(sandbox);
  EXPECT_EQ(sandbox.read("log.0"), LogSandbox::lines(1, 2000) + "late\n");
  ASSERT_EQ(write(writer.get(), "later\n", 6), 6);
  writer.reset();
  rotate(sandbox);
  EXPECT_FALSE(sandbox.has("log.0"));
  EXPECT_EQ(sandbox.unpacked("log.0.bz2"), LogSandbox::lines(1, 2000) + "late\nlater\n");
}

TEST(Newsyslog, MovesAFileThatIsStillWrittenToOnWithTheOthers) {
  const LogSandbox sandbox;
  sandbox.write("log", LogSandbox::lines(1, 2000));
  UniqueFd writer(open(sandbox.path("log").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
  rotate(sandbox);
  sandbox.write("log", LogSandbox::lines(1000, 2000));
  rotate(sandbox);
  ASSERT_EQ(write(writer.get(), "late\n", 5), 5);
  writer.reset();
  rotate(sandbox);
  EXPECT_EQ(sandbox.unpacked("log.1.bz2"), LogSandbox::lines(1, 2000) + "late\n");
  EXPECT_EQ(sandbox.unpacked("log.0.bz2"), LogSandbox::lines(1000, 2000));
}

TEST(Newsyslog, JoinsAnArchiveThatHoldsOtherLinesThanTheFileBesideIt) {
  const LogSandbox sandbox;
  sandbox.write("log", LogSandbox::lines(1, 2000));
  rotate(sandbox);
  sandbox.write("log.0", "other\n");
  rotate(sandbox);
  EXPECT_EQ(sandbox.unpacked("log.0.bz2"), LogSandbox::lines(1, 2000) + "other\n");
  EXPECT_FALSE(sandbox.has("log.0"));
}

TEST(Newsyslog, FollowsNoLink) {
  const LogSandbox sandbox;
  sandbox.write("victim", LogSandbox::lines(1, 2000));
  ASSERT_EQ(symlink("victim", sandbox.path("log").c_str()), 0);
  EXPECT_THROW(rotate(sandbox), std::runtime_error);
  EXPECT_EQ(sandbox.read("victim"), LogSandbox::lines(1, 2000));
  EXPECT_TRUE(std::filesystem::is_symlink(sandbox.path("log")));
  ASSERT_EQ(unlink(sandbox.path("log").c_str()), 0);
  sandbox.write("log", LogSandbox::lines(5, 2000));
  ASSERT_EQ(symlink("victim", sandbox.path("log.0.bz2").c_str()), 0);
  EXPECT_THROW(rotate(sandbox), std::runtime_error);
  EXPECT_EQ(sandbox.read("victim"), LogSandbox::lines(1, 2000));
  EXPECT_EQ(sandbox.read("log"), LogSandbox::lines(5, 2000));
}

TEST(Newsyslog, IsNotStoppedByAnInterruption) {
  const LogSandbox sandbox;
  const std::string first = LogSandbox::lines(1, 5000);
  sandbox.write("log", first);
  rotate(sandbox);
  sandbox.write("more", "second\n");
  const auto folder = openLogFolder(sandbox.folder(), false);
  for (const int call : {SYS_read, SYS_write}) {
    const std::string both = "both" + std::to_string(call) + ".bz2";
    withInterruptedSystemCall(call, 1, [&] {
      EXPECT_NO_THROW(folder->compress("more", "log.0.bz2", both, LogAttributes{}));
    });
    EXPECT_EQ(sandbox.unpacked(both), first + "second\n");
  }
}

}  // namespace
}  // namespace quillo
