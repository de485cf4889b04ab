#pragma once

#include <unistd.h>

#include <string>
#include <vector>

#include "scanning/Dispatcher.h"
#include "scanning/PatientScanner.h"
#include "tests/fakes/scanning/FakeScannerOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// A dispatcher and what stands around the scanners that it feeds.
struct ScannerBench {
  // The arguments as an agent hands them to its scanners.
  static ScanArgumentList arguments(const std::string& program,
                                    const std::vector<std::string>& options = {"--stdout"}) {
    ScanArgumentList list = {static_cast<ScannerMenu*>(nullptr), program};
    list.insert(list.end(), options.begin(), options.end());
    return list;
  }
  // A name that no other test and no other process has.
  static std::string uniqueName(const std::string& name) {
    return name + "_" + std::to_string(getpid());
  }
  static std::string listPath(const std::string& scannerName) {
    return "/tmp/VantrelQuilloScanList_" + scannerName + ".txt";
  }
  std::string file(const std::string& name, const std::string& contents = "contents") const {
    return folder.write(name, contents);
  }
  void makeReady(std::vector<std::string> paths) {
    dispatcher.copyItemsToMyItemListFrom(paths);
    dispatcher.getItemSizesInMyItemList();
    dispatcher.getItemSizesInMyItemList();
    dispatcher.moveReadyItemsToScannableList();
  }

  TemporaryFolder folder;
  ManualClock clock;
  FakePlatform desktop;
  FakePipelineObserver pipeline;
  Dispatcher dispatcher{clock, desktop.systemLog, desktop.volumes, &pipeline};
  FakeScannerOwner owner{dispatcher};
  ScannerServices services = scannerServicesOf(desktop, clock, owner, &pipeline);
};

}  // namespace quillo
