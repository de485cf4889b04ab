#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "scanning/Dispatcher.h"
#include "scanning/ScanReport.h"
#include "tests/fakes/scanning/FakeScannerOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/StdoutCapture.h"

namespace quillo {

// A scan report in the middle of a run, at 2026-01-02 03:04:05 UTC.
class ReportFixture : public testing::Test {
 protected:
  using Action = InfectedFileAction;

  ReportFixture() { setTimeZone("UTC0"); }
  ~ReportFixture() override {
    unsetenv("TZ");
    tzset();
  }

  static void setTimeZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  void startRun(Action quarantineOrTrash, bool suppressInfoDialogs = false) {
    report.startRun({quarantineOrTrash, "/home/anna/Quarantine", suppressInfoDialogs}, {});
  }
  // What the chunk adds to the scan log.
  std::string loggedFor(std::string_view chunk) {
    StdoutCapture capture;
    report.dealWithOutput(chunk);
    return capture.text();
  }
  std::vector<std::shared_ptr<FakeDialog>> quarantinedDialogs() {
    return desktop.interfaceLoader.loaded("QuarantinedDialog");
  }
  std::vector<std::shared_ptr<FakeDialog>> warningDialogs() {
    return desktop.interfaceLoader.loaded("WarningDialog");
  }

  const std::string stamp = "2026-01-02 03:04:05";
  const std::string infection = "/Users/a/b.zip: Eicar-Test-Signature FOUND";
  ManualClock clock;
  FakePlatform desktop;
  Dispatcher dispatcher{clock, desktop.systemLog, desktop.volumes, nullptr};
  FakeScannerOwner owner{dispatcher};
  ScannerServices services = scannerServicesOf(desktop, clock, owner, nullptr);
  ScanReport report{owner, services};
};

}  // namespace quillo
