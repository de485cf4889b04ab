// Real threads that nobody joins.

#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

class ThreadStarterTest : public testing::Test {
 protected:
  // What is reported of a thread "worker" that runs this body.
  std::string reportOf(const std::function<void()>& body) {
    threads.detachNewThread("worker", body);
    return said->get_future().get();
  }

  // Shared with the thread, which may outlive the test by a moment.
  const std::shared_ptr<std::promise<std::string>> said =
      std::make_shared<std::promise<std::string>>();
  DetachedThreads threads{[said = said](const std::string& text) { said->set_value(text); }};
};

TEST_F(ThreadStarterTest, ShowsTheBeginningOfTheThreadsName) {
  threads.detachNewThread("a name longer than shown", [said = said] {
    std::array<char, 16> name = {};
    pthread_getname_np(pthread_self(), name.data(), name.size());
    said->set_value(name.data());
  });
  EXPECT_EQ(said->get_future().get(), "a name longer t");
}

TEST_F(ThreadStarterTest, ReportsTheExceptionThatEndsAThread) {
  EXPECT_EQ(reportOf([] { throw std::runtime_error("no room"); }), "Thread worker ended: no room");
}

TEST_F(ThreadStarterTest, ReportsWhateverEndsAThread) {
  EXPECT_EQ(reportOf([] { throw 3; }), "Thread worker ended with an unknown failure");
}

TEST_F(ThreadStarterTest, EndsAThreadAlsoWhenThereIsNoMemoryForTheReport) {
  DetachedThreads starved{[said = said](const std::string&) {
    said->set_value("tried");
    throw std::bad_alloc();
  }};
  starved.detachNewThread("worker", [] { throw std::bad_alloc(); });
  EXPECT_EQ(said->get_future().get(), "tried");
}

}  // namespace
}  // namespace quillo
