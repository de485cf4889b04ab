#include "companion/planned/PlannedScanRun.h"

#include <memory>

#include "companion/scan/InterruptWatch.h"
#include "companion/scan/ScanWords.h"

namespace quillo {
namespace {

// Nobody looks on; what is found is in the history, and counted at the end.
struct Ending final : ManualScanObserver {
  void verdict(const Verdict&) override {}
  void advanced() override {}
  void ended(const ManualScanResult& given) override { result = given; }

  ManualScanResult result;
};

}  // namespace

PlannedScanOutcome runToOutcome(const std::vector<std::string>& paths,
                                const ManualScanServices& services, ScanHistory* history) {
  Ending ending;
  const auto scan = std::make_shared<ManualScan>(services, ending, history);
  {
    const InterruptWatch interrupts(services.threads, [scan] { scan->stop(); });
    scan->run(paths);
  }
  const ManualScanResult& result = ending.result;
  PlannedScanOutcome outcome;
  outcome.found = result.found;
  outcome.isComplete = result.notScanned == 0 && !result.isStopped &&
                       result.problem == ManualScanResult::Problem::none;
  for (const std::string& sentence : ScanWords(services.localizedStrings).report(result)) {
    outcome.words += (outcome.words.empty() ? "" : "\n") + sentence;
  }
  return outcome;
}

}  // namespace quillo
