#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "agent/MainThreadRequests.h"

namespace quillo {
namespace {

TEST(MainThreadRequests, ArePerformedAtOnceWhenThereIsNoOther) {
  MainThreadRequests requests;
  std::string done;
  requests.perform([&] { done += "a"; });
  EXPECT_EQ(done, "a");
  requests.perform([&] { done += "b"; });
  EXPECT_EQ(done, "ab");
}

TEST(MainThreadRequests, AreHeldInOrderWhileAnotherIsPerformed) {
  MainThreadRequests requests;
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

TEST(MainThreadRequests, AreNotHeldForEverByOneThatFails) {
  MainThreadRequests requests;
  std::string done;
  EXPECT_THROW(requests.perform([&] {
    requests.perform([&] { done += "held"; });
    throw std::runtime_error("no");
  }),
               std::runtime_error);
  requests.perform([&] { done += " next"; });
  EXPECT_EQ(done, "held next");
}

}  // namespace
}  // namespace quillo
