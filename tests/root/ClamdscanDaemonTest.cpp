// The tree's scanner and a real daemon that is slow, reloads, or dies.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include "posix/Text.h"
#include "tests/root/support/engine/WrapperOnClamd.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/LocalSocket.h"

namespace quillo::wrapper {
namespace {

using tests::eicar;

class WrapperOnSlowClamd : public WrapperOnClamd {
 protected:
  // So large that the daemon takes much longer for it than it lets a session be silent.
  std::string slow(const std::string& name, off_t megabytes = 300) {
    std::string path = files.write(name, eicar());
    EXPECT_EQ(truncate(path.c_str(), megabytes * 1024 * 1024), 0);
    return path;
  }
  std::string log() const {
    return TemporaryFolder::read(deletingLastPathComponent(daemon->configuration()) + "/log");
  }
  static constexpr const char* impatient =
      "MaxFileSize 1000M\nMaxScanSize 1000M\nMaxThreads 2\nCommandReadTimeout 1\nReadTimeout 1\n"
      "IdleTimeout 1\nSendBufTimeout 200\n";
};

TEST_F(WrapperOnSlowClamd, KeepsItsSessionOverScansThatOutlastEveryTimeOut) {
  startDaemon(impatient);
  const std::vector<std::string> paths = {slow("a"), slow("b"), slow("c")};
  EXPECT_EQ(scan(paths), found(paths[0]) + found(paths[1]) + found(paths[2]));
  EXPECT_FALSE(has(log(), "TIMED OUT")) << log();
}

TEST_F(WrapperOnSlowClamd, ScansOnOverAReload) {
  for (const char* way :
       {"ConcurrentDatabaseReload yes\n", "ConcurrentDatabaseReload no\nIdleTimeout 1\n"}) {
    startDaemon(way);
    std::vector<std::string> paths;
    for (int i = 0; i < 3000; ++i) {
      paths.push_back(files.write("f" + std::to_string(i), i % 500 == 0 ? eicar() : "text"));
    }
    bool reloaded = false;
    const std::string output = run({"--multiscan", listOf(paths)}, [&](std::string_view) {
      if (!std::exchange(reloaded, true)) {
        daemon->send(SIGUSR2);
      }
      return true;
    });
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 3000);
    EXPECT_FALSE(has(output, "Not scanned")) << output.substr(0, 2000);
    EXPECT_TRUE(has(output, found(paths[2500])));
  }
}

TEST_F(WrapperOnClamd, LeavesNoneOfFiftyOutThatADyingDaemonHad) {
  startDaemon("MaxThreads 50\n");
  std::vector<std::string> paths;
  for (int i = 0; i < 3000; ++i) {
    paths.push_back(files.write("f" + std::to_string(i)));
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

// A listener of another user's, at a place where only root could have put its socket.
class Stranger {
 public:
  explicit Stranger(const std::string& path) {
    int ends[2];
    tests::check(pipe2(ends, O_CLOEXEC), "pipe");
    got_.reset(ends[0]);
    const UniqueFd reported(ends[1]);
    const UniqueFd listener = bindTo(path);
    tests::check(chmod(path.c_str(), 0666), "chmod " + path);
    process_ = tests::check(fork(), "fork");
    if (process_ == 0) {
      [[maybe_unused]] const bool other =
          setuid(ordinaryUser + 1) == 0 && listen(listener.get(), 9) == 0;
      tests::check(static_cast<int>(write(reported.get(), "!", 1)), "write");
      for (char byte = 0;;) {
        const UniqueFd visitor(accept(listener.get(), nullptr, nullptr));
        while (read(visitor.get(), &byte, 1) == 1) {
          tests::check(static_cast<int>(write(reported.get(), &byte, 1)), "write");
        }
      }
    }
    char listens = 0;
    tests::check(static_cast<int>(read(got_.get(), &listens, 1)), "read");
  }
  ~Stranger() { end(); }
  Stranger(const Stranger&) = delete;
  Stranger& operator=(const Stranger&) = delete;

  // Ends it and returns all bytes that it was sent.
  std::string end() {
    if (process_ > 0) {
      kill(process_, SIGKILL);
      waitpid(std::exchange(process_, -1), nullptr, 0);
    }
    std::array<char, 256> bytes;
    const ssize_t count = read(got_.get(), bytes.data(), bytes.size());
    return std::string(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }

 private:
  UniqueFd got_;
  pid_t process_ = -1;
};

TEST_F(WrapperOnClamd, SendsNothingToAListenerOfAnotherUser) {
  const std::string path = files.write("mine", eicar(), 0600);
  ASSERT_EQ(chown(path.c_str(), ordinaryUser, ordinaryUser), 0);
  user = ordinaryUser;
  Stranger stranger(tree.at("socket"));
  tree.write("etc/clamd.conf", "LocalSocket " + tree.at("socket") + "\n");
  const std::string reason = "a program of user " + std::to_string(ordinaryUser + 1) + " listens\n";
  EXPECT_EQ(scan({path}), "ERROR: Could not connect to clamd on LocalSocket " + tree.at("socket") +
                              ": " + reason + path +
                              ": Not scanned: the daemon is not trusted: " + reason);
  EXPECT_EQ(status, 2);
  EXPECT_EQ(stranger.end(), "");
}

}  // namespace
}  // namespace quillo::wrapper
