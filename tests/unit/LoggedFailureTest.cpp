#include <gtest/gtest.h>

#include <new>

#include "platform/SystemLog.h"
#include "tests/fakes/desktop/FakeServices.h"

namespace quillo {
namespace {

struct LogWithoutMemory final : SystemLog {
  void log(std::string_view) override { throw std::bad_alloc(); }
};

TEST(LoggedFailure, NamesWhoFailedAndWhy) {
  FakeSystemLog log;
  logFailure(log, "worker", ": ", std::runtime_error("no room"));
  EXPECT_EQ(log.lines(), std::vector<std::string>{"worker: no room"});
}

TEST(LoggedFailure, IsNoFailureItself) {
  LogWithoutMemory log;
  EXPECT_NO_THROW(logFailure(log, "worker", ": ", std::bad_alloc()));
}

}  // namespace
}  // namespace quillo
