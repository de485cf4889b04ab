#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "agent/ScanLog.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/StdoutCapture.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// A scan log in a home of its own. What it does to standard output and error is undone.
class ScanLogUnderTest : public testing::Test {
 protected:
  ScanLogUnderTest() {
    desktop.folders.home = home.path();
    desktop.folders.temporary = home.makeFolder("tmp");
    desktop.folders.resources = home.makeFolder("resources");
  }
  void TearDown() override { output.restore(); }

  RestoredOutput output;
  TemporaryFolder home;
  FakePlatform desktop;
  int waits = 0;
  ScanLog log{desktop.folders, desktop.preferences, desktop.systemLog,
              [this](const std::function<void()>& wait) {
                ++waits;
                wait();
              }};
};

}  // namespace quillo
