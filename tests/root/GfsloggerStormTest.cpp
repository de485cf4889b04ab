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
  // Writes as many small files as a big archive has.
  void blow() {
    for (int number = 0; number < folders; ++number) {
      makeFolder(in("storm-") + std::to_string(number));
    }
    for (int number = 0; number < files; ++number) {
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
  const pid_t storm = check(fork(), "fork");
  if (storm == 0) {
    blow();
    _exit(0);
  }
  const auto isOfStorm = [this](const std::string& line) {
    return line.rfind(in("storm-"), 0) == 0;
  };
  EXPECT_TRUE(output().waitForCount(files, isOfStorm));
  EXPECT_EQ(waitpid(storm, nullptr, 0), storm);
  const size_t lines = expectAllReported();
  const double seconds = processorSeconds();
  std::printf("%d files: %zu lines (%.3f a file), %.3f s of processor time\n", files, lines,
              static_cast<double>(lines) / files, seconds);
  EXPECT_LE(lines, static_cast<size_t>(files * 1.1));
}

TEST_F(GfsloggerStorm, LosesNothingWhileItsReaderStandsStill) {
  start();
  // Nobody reads before the storm is over, and the pipe holds a hundredth of it.
  blow();
  expectAllReported();
}

}  // namespace
}  // namespace quillo::tests
