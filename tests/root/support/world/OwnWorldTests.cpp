#include "tests/root/support/world/OwnWorldTests.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string_view>

#include "tests/root/support/world/World.h"

namespace quillo::tests {

int runAllTestsInOwnWorld(int argc, char** argv) {
  bool onlyLists = false;
  for (int at = 1; at < argc; ++at) {
    onlyLists |= std::string_view(argv[at]).substr(0, 18) == "--gtest_list_tests";
  }
  testing::InitGoogleTest(&argc, argv);
  if (onlyLists) return RUN_ALL_TESTS();
  if (geteuid() != 0) {
    std::fprintf(stderr, "root tests must run as root\n");
    return 1;
  }
  const int status = runInOwnWorld([] { return RUN_ALL_TESTS(); });
  // No exit handlers: the processes that a sanitizer would start there cannot be started any more,
  // as the new PID namespace has ended.
  std::fflush(nullptr);
  _exit(status);
}

}  // namespace quillo::tests
