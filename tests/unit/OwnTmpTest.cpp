#include <gtest/gtest.h>
#include <unistd.h>

#include <stdexcept>

#include "benchmarks/world/OwnTmp.h"

namespace bench {
namespace {

TEST(OwnTmp, IsNotTakenFromTheWholeMachine) {
  ASSERT_NE(getpid(), 1);
  EXPECT_THROW(coverTmp(), std::runtime_error);
}

}  // namespace
}  // namespace bench
