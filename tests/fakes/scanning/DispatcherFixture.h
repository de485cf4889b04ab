#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "scanning/Dispatcher.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/fakes/scanning/FakeScannerOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// A dispatcher whose steps and cycles the test drives itself; a cycle's second passes at once.
class DispatcherFixture : public testing::Test {
 protected:
  DispatcherFixture() {
    clock.setSleepsPassAtOnce(true);
    volumes.folders.push_back(folder.path() + "/Volumes");
  }

  std::string file(const std::string& name, const std::string& contents = "contents") {
    return folder.write(name, contents);
  }
  void takeOver(std::vector<std::string> paths) { dispatcher.copyItemsToMyItemListFrom(paths); }
  void measure() { dispatcher.getItemSizesInMyItemList(); }
  void promote() { dispatcher.moveReadyItemsToScannableList(); }
  // Brings paths to the scannable list.
  void makeReady(const std::vector<std::string>& paths) {
    takeOver(paths);
    measure();
    measure();
    promote();
  }
  std::vector<std::string> batch() {
    std::vector<std::string> paths;
    dispatcher.copyFromDispatchToScanner(paths);
    std::sort(paths.begin(), paths.end());
    return paths;
  }
  std::vector<std::string> manyFiles(std::size_t count) {
    std::vector<std::string> paths;
    for (std::size_t index = 0; index < count; ++index) {
      paths.push_back(file("many/" + std::to_string(index)));
    }
    return paths;
  }
  std::chrono::seconds slept() {
    return std::chrono::duration_cast<std::chrono::seconds>(clock.slept());
  }

  TemporaryFolder folder;
  ManualClock clock;
  FakeSystemLog log;
  FakeRoadObserver observer;
  FakeVolumes volumes;
  Dispatcher dispatcher{clock, log, volumes, &observer};
};

}  // namespace quillo
