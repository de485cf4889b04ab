#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "agent/MainThreadRequests.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakeServices.h"

namespace quillo {
namespace {

class MainThreadRequestsTest : public testing::Test {
 protected:
  FakeApplication application;
  FakeSystemLog log;
  MainThreadRequests requests{application, log};
};

TEST_F(MainThreadRequestsTest, ArePerformedAtOnceWhenThereIsNoOther) {
  std::string done;
  requests.perform([&] { done += "a"; });
  EXPECT_EQ(done, "a");
  requests.perform([&] { done += "b"; });
  EXPECT_EQ(done, "ab");
}

TEST_F(MainThreadRequestsTest, AreHeldInOrderWhileAnotherIsPerformed) {
  std::string done;
  requests.perform([&] {
    done += "(";
    requests.perform([&] {
      done += "a";
      requests.perform([&] { done += "c"; });
    });
    requests.perform([&] { done += "b"; });
    done += ")";
  });
  EXPECT_EQ(done, "()abc");
}

TEST_F(MainThreadRequestsTest, AreNotHeldForEverByOneThatFails) {
  std::string done;
  requests.perform([&] {
    requests.perform([&] { done += "held"; });
    throw std::runtime_error("no");
  });
  requests.perform([&] { done += ", next"; });
  EXPECT_EQ(done, "held, next");
  EXPECT_EQ(log.lines(), std::vector<std::string>{"A request failed: no"});
  EXPECT_EQ(application.beeps, 1);
}

TEST_F(MainThreadRequestsTest, AreAttemptedAtOnceWhileAnotherIsPerformed) {
  std::string done;
  requests.perform([&] {
    requests.attempt([&] {
      done += "a";
      throw 1;
    });
    done += "b";
  });
  EXPECT_EQ(done, "ab");
  EXPECT_EQ(log.lines(), std::vector<std::string>{"A request failed: unknown failure"});
}

}  // namespace
}  // namespace quillo
