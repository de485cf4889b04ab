#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/fakes/scanning/ScannerBench.h"
#include "tests/support/StdoutCapture.h"

namespace quillo {

// A scanner whose engine is the fake one.
class ScannerFixture : public testing::Test {
 protected:
  ScannerFixture() {
    scanner.setMyName(name);
    useEngine(QUILLO_FAKE_ENGINE);
  }
  ~ScannerFixture() override { std::filesystem::remove_all(listPath); }

  void useEngine(const std::string& program,
                 const std::vector<std::string>& options = {"--stdout"}) {
    scanner.setMenuAndParams(ScannerBench::arguments(program, options), bench.owner.chosen);
  }
  // Runs the engine over files of those names and gives the scan log's lines without timestamps.
  std::vector<std::string> scan(const std::vector<std::string>& names) {
    scanner.scanList().clear();
    for (const std::string& each : names) {
      scanner.scanList().push_back(bench.file(each));
    }
    StdoutCapture capture;
    scanner.performScan();
    return withoutTimestamps(capture.text());
  }
  std::string path(const std::string& relative) const {
    return bench.folder.path() + "/" + relative;
  }
  static std::vector<std::string> withoutTimestamps(const std::string& log) {
    constexpr std::size_t timestampLength = 20;
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < log.size();) {
      const std::size_t end = log.find('\n', start);
      const std::string line = log.substr(start, end - start);
      lines.push_back(line.substr(std::min(timestampLength, line.size())));
      start = end == std::string::npos ? log.size() : end + 1;
    }
    return lines;
  }

  ScannerBench bench;
  const std::string name =
      ScannerBench::uniqueName(testing::UnitTest::GetInstance()->current_test_info()->name());
  const std::string listPath = ScannerBench::listPath(name);
  PatientScanner scanner{bench.owner, bench.services};
};

}  // namespace quillo
