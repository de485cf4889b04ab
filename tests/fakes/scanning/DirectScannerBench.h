#pragma once

#include <functional>
#include <string>
#include <vector>

#include "scanning/Scanner.h"
#include "tests/fakes/scanning/ScannerBench.h"
#include "tests/support/StdoutCapture.h"

namespace quillo {

class FakeScannerMenu final : public ScannerMenu {
 public:
  std::string getQuitMenuName() const override { return "Quit from the menu"; }
};

// A scanner outside the queue, and what stands around it.
struct DirectScannerBench {
  explicit DirectScannerBench(PipeSource pipes = {})
      : scanner(bench.owner, services, std::move(pipes)) {}

  ScanItemList itemsOf(const std::vector<std::string>& paths) {
    ScanItemList items = {params, static_cast<ScannerMenu*>(&menu)};
    items.insert(items.end(), paths.begin(), paths.end());
    return items;
  }
  // Gives the paths that the engine was run with.
  std::vector<std::string> scan(const std::vector<std::string>& paths) {
    ScanItemList items = itemsOf(paths);
    const std::size_t before = bench.road.startedPaths().size();
    StdoutCapture capture;
    scanner.scan(items);
    output = capture.text();
    const auto started = bench.road.startedPaths();
    return {started.begin() + static_cast<std::ptrdiff_t>(before), started.end()};
  }
  std::string path(const std::string& relative) const {
    return bench.folder.path() + "/" + relative;
  }

  ScannerBench bench;
  FakeScannerMenu menu;
  PassingClock clock;
  ScannerServices services = scannerServicesOf(bench.desktop, clock, bench.owner, &bench.road);
  std::vector<std::string> params = {"/no/such/engine", "--stdout"};
  // What the last scan wrote to standard output and error.
  std::string output;
  Scanner scanner;
};

}  // namespace quillo
