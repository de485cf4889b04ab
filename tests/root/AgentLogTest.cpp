// What the scan log of the real agent begins with.

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/Lines.h"
#include "tests/support/Threads.h"

namespace quillo::tests {
namespace {

constexpr std::size_t timestampLength = 20;

// Takes what is logged, so that nobody who logs has to wait.
class ReadSystemLog {
 public:
  ReadSystemLog() : reader_([this] { read(); }) {}
  ~ReadSystemLog() {
    ended_ = true;
    reader_.join();
  }
  ReadSystemLog(const ReadSystemLog&) = delete;
  ReadSystemLog& operator=(const ReadSystemLog&) = delete;

  // Whether a message of that kind comes that holds the text.
  bool has(const std::string& kind, const std::string& text) {
    std::unique_lock hold(lock_);
    return changed_.wait_for(hold, deadline, [&] {
      const std::size_t at = all_.find(text);
      return at != std::string::npos && all_.rfind(kind, at) > all_.rfind('\n', at);
    });
  }

 private:
  void read() {
    while (!ended_) {
      const std::string line = log_.next(std::chrono::milliseconds(100));
      const std::lock_guard hold(lock_);
      all_ += line + "\n";
      changed_.notify_all();
    }
  }

  SystemLogListener log_;
  std::atomic<bool> ended_ = false;
  std::mutex lock_;
  std::condition_variable changed_;
  std::string all_ = "\n";
  JoinedThreads reader_;
};

// The system log is there before the agent, which is sent to a display that is not there.
class AgentLog : public testing::Test {
 protected:
  void SetUp() override {
    home.setVariable("QT_QPA_PLATFORM=xcb;offscreen");
    home.setVariable("DISPLAY=:99");
    home.startAndAwaitWatching();
  }

  ReadSystemLog system;
  GuardedHome home;
};

TEST_F(AgentLog, BeginsWithALineForPeople) {
  const std::string line = home.readLog().substr(timestampLength);
  EXPECT_TRUE(line.starts_with("Vantrel Quillo ")) << line;
  EXPECT_TRUE(home.logHas("Folders to guard: " + home.home() + "/Downloads/"));
}

TEST_F(AgentLog, LeavesWhatQtSaysToTheSystemLog) {
  EXPECT_TRUE(system.has("Qt: ", "could not connect to display"));
  EXPECT_EQ(home.linesWith("could not connect to display"), 0) << home.readLog();
}

TEST_F(AgentLog, HasNoLineOfTheEnginesSummaryButTheCountOfErrors) {
  ASSERT_TRUE(home.logHas("Scanned (status 0): " + home.guarded("sentinel")));
  EXPECT_EQ(home.linesWith(" Date: "), 0) << home.readLog();
}

}  // namespace
}  // namespace quillo::tests
