#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>
#include <string_view>

#include "tests/desktop/PrivateSession.h"

namespace {

bool onlyLists(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::string_view(argv[i]) == "--gtest_list_tests") {
      return true;
    }
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  const bool listing = onlyLists(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  if (listing) {
    return RUN_ALL_TESTS();
  }
  if (std::getenv("DISPLAY") == nullptr) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
  }
  const quillo::PrivateSession session;
  const QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
