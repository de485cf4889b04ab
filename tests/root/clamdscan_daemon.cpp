// The tree's scanner and a real daemon that is slow, reloads, or dies.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include "posix/Text.h"
#include "tests/root/support/Files.h"
#include "tests/root/support/FrontOnClamd.h"

namespace quillo::front {
namespace {

using tests::eicar;

constexpr uid_t ordinaryUser = 61234;

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class FrontOnSlowClamd : public FrontOnClamd {
 protected:
  // So large that the daemon takes much longer for it than it lets a session be silent.
  std::string slow(const std::string& name, off_t megabytes = 300) {
    const std::string path = files.file(name, eicar());
    EXPECT_EQ(truncate(path.c_str(), megabytes * 1024 * 1024), 0);
    return path;
  }
  static constexpr const char* impatient =
      "MaxFileSize 1000M\nMaxScanSize 1000M\nMaxThreads 2\nCommandReadTimeout 1\nReadTimeout 1\n"
      "IdleTimeout 1\nSendBufTimeout 200\n";
};

TEST_F(FrontOnSlowClamd, KeepsItsSessionOverScansThatOutlastEveryTimeOut) {
  startDaemon(impatient);
  const std::vector<std::string> paths = {slow("a"), slow("b"), slow("c")};
  EXPECT_EQ(scan(paths), found(paths[0]) + found(paths[1]) + found(paths[2]));
  EXPECT_FALSE(has(daemonsLog(), "READ TIMED OUT")) << daemonsLog();
}

TEST_F(FrontOnSlowClamd, LosesNoAnswerWhenItsReaderIsSlow) {
  startDaemon(impatient);
  std::vector<std::string> paths;
  std::string expected;
  for (int i = 0; i < 3000; ++i) {
    paths.push_back(files.file("f" + std::to_string(i)));
    expected += paths.back() + ": OK\n";
  }
  bool slept = false;
  EXPECT_EQ(scan(paths, {"--multiscan"}).size(), expected.size());
  // A reader that stops for longer than the daemon lets a session be silent: the pipe fills.
  const std::string output = run({listOf(paths)}, [&](std::string_view) {
    if (!std::exchange(slept, true)) {
      tests::letPass(std::chrono::milliseconds(2500));
    }
    return true;
  });
  EXPECT_EQ(output, expected);
}

TEST_F(FrontOnSlowClamd, ScansOnOverAReload) {
  for (const char* way : {"ConcurrentDatabaseReload yes\n", "ConcurrentDatabaseReload no\n"}) {
    startDaemon(way);
    std::vector<std::string> paths;
    for (int i = 0; i < 3000; ++i) {
      paths.push_back(files.file("f" + std::to_string(i), i % 500 == 0 ? eicar() : "text"));
    }
    int pieces = 0;
    const std::string output = run({"--multiscan", listOf(paths)}, [&](std::string_view) {
      if (++pieces % 5 == 1) {
        daemon->send(SIGUSR2);
      }
      return true;
    });
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 3000);
    EXPECT_FALSE(has(output, "Not scanned")) << output.substr(0, 2000);
    EXPECT_TRUE(has(output, found(paths[2500])));
  }
}

TEST_F(FrontOnClamd, LeavesNoneOfFiftyOutThatADyingDaemonHad) {
  startDaemon("MaxThreads 50\n");
  std::vector<std::string> paths;
  for (int i = 0; i < 3000; ++i) {
    paths.push_back(files.file("f" + std::to_string(i)));
  }
  const std::string output = run({"--multiscan", listOf(paths)}, [&](std::string_view) {
    daemon->send(SIGKILL);
    return true;
  });
  const std::vector<std::string_view> all = split(output, '\n');
  const std::set<std::string_view> lines(all.begin(), all.end());
  for (const std::string& path : paths) {
    EXPECT_NE(lines.count(path + ": OK"),
              lines.count(path + ": Not scanned: the daemon cannot be reached"))
        << path;
  }
  EXPECT_EQ(lines.count("ERROR: Clamd closed the connection before scanning all files."), 1U);
  EXPECT_TRUE(has(output, "ERROR: Could not connect to clamd on LocalSocket "));
  EXPECT_EQ(status, 2);
}

TEST_F(FrontOnClamd, SendsNothingToAListenerOfAnotherUser) {
  startDaemon();
  // A daemon of another user's, at a place where only root could have put its socket.
  const std::string path = files.file("mine", eicar(), 0600);
  ASSERT_EQ(chown(path.c_str(), ordinaryUser, ordinaryUser), 0);
  user = ordinaryUser;
  daemon = std::make_unique<tests::PrivateClamd>(
      tests::PrivateClamd::Settings{"User nobody\n", {}, true});
  tree.file("etc/clamd.conf", "LocalSocket " + daemon->socket() + "\n");
  const std::string output = scan({path});
  EXPECT_TRUE(has(output, "ERROR: Could not connect to clamd on LocalSocket " + daemon->socket()));
  EXPECT_TRUE(has(output, path + ": Not scanned: the daemon is not trusted: ")) << output;
  EXPECT_EQ(status, 2);
  // Unless the configuration of the tree's daemon names that user.
  tree.file("etc/front.conf", "DaemonConfig " + daemon->configuration() + "\n");
  EXPECT_EQ(scan({path}), found(path));
}

}  // namespace
}  // namespace quillo::front
