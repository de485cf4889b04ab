#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <unordered_set>

#include "tests/root/support/helper/HelperFixture.h"

namespace quillo::tests {
namespace {

constexpr int files = 100'000;
constexpr int folders = 100;

class GfsloggerStorm : public HelperFixture {
 protected:
  // Writes as many small files as a big archive has, `part` at a time: after each it waits until
  // they are reported, so that the kernel's queue, which is bounded, never is full.
  void blow(int part = files) {
    for (int number = 0; number < folders; ++number) {
      makeFolder(in("storm-") + std::to_string(number));
    }
    for (int number = 0; number < files; ++number) {
      if (number > 0 && number % part == 0) {
        ASSERT_TRUE(output().waitFor(pathOf(number - 1)));
      }
      const int fd =
          check(open(pathOf(number).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644), "open");
      check(static_cast<int>(write(fd, "text", 4)), "write");
      close(fd);
    }
  }

  std::string pathOf(int number) const {
    return in("storm-") + std::to_string(number / (files / folders)) + "/file-" +
           std::to_string(number);
  }

  // Reads until the end of the storm and returns the number of its lines.
  size_t expectAllReported() {
    EXPECT_TRUE(catchUp());
    std::unordered_set<std::string> reported;
    size_t lines = 0;
    for (const std::string& line : output().all()) {
      if (line.rfind(in("storm-"), 0) != 0) continue;
      ++lines;
      reported.insert(line);
    }
    int missing = 0;
    for (int number = 0; number < files; ++number) missing += reported.count(pathOf(number)) == 0;
    EXPECT_EQ(missing, 0);
    EXPECT_EQ(reported.size(), static_cast<size_t>(files));
    return lines;
  }

  double processorSeconds() {
    EXPECT_TRUE(agent().signalHelper(SIGTERM));
    const rusage usage = agent().reap().usage;
    const auto seconds = [](const timeval& time) { return time.tv_sec + time.tv_usec / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
  }
};

TEST_F(GfsloggerStorm, LosesNothingAndReportsEachFileAboutOnce) {
  start();
  constexpr int part = 5000;
  blow(part);
  const size_t lines = expectAllReported();
  const double seconds = processorSeconds();
  std::printf("%d files: %zu lines (%.3f a file), %.3f s of processor time\n", files, lines,
              static_cast<double>(lines) / files, seconds);
  EXPECT_LE(lines, static_cast<size_t>(files * 1.1));
}

TEST_F(GfsloggerStorm, EndsWithStatus4WhenTheKernelDroppedEventsAndReportsTheOthersBefore) {
  start();
  ASSERT_TRUE(agent().signalHelper(SIGSTOP));
  blow();
  ASSERT_TRUE(agent().signalHelper(SIGCONT));
  EXPECT_TRUE(output().waitForEnd());
  const int ending = agent().reap().status;
  ASSERT_TRUE(WIFEXITED(ending));
  EXPECT_EQ(WEXITSTATUS(ending), 4);
  const int kept = std::stoi(readFile("/proc/sys/fs/fanotify/max_queued_events"));
  ASSERT_LT(kept, files);
  EXPECT_TRUE(output().contains(pathOf(0)));
  EXPECT_TRUE(output().contains(pathOf(kept / 2)));
  EXPECT_FALSE(output().contains(pathOf(files - 1)));
}

TEST_F(GfsloggerStorm, NeverSaysThatAllIsToldOnceEventsWereDropped) {
  start();
  ASSERT_TRUE(agent().signalHelper(SIGSTOP));
  blow();
  output().clear();
  ASSERT_TRUE(agent().signalHelper(SIGCONT));
  EXPECT_TRUE(output().waitForEnd());
  // One may have been due from before.
  EXPECT_LE(output().count(""), 1U);
  EXPECT_FALSE(output().all().back().empty());
}

}  // namespace
}  // namespace quillo::tests
