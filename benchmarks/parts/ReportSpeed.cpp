// Lines of the engine's report, from its output to the scan log; and paths past the exclusions.

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "benchmarks/parts/Gauges.h"
#include "scanning/Dispatcher.h"
#include "scanning/PathPattern.h"
#include "scanning/ScanReport.h"
#include "tests/fakes/scanning/FakeScannerOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/StdoutCapture.h"
#include "tests/support/TemporaryFolder.h"

namespace bench {
namespace {

constexpr std::size_t filesOfRun = 200;

// Heard of, and kept by nobody.
class NoObserver final : public quillo::ScanObserver {
 public:
  void runBegan(std::size_t) override {}
  void runEnded(std::size_t) override {}
  void verdictGiven(const quillo::Verdict&) override {}
};

class ReportOfMany {
 public:
  ReportOfMany() {
    for (std::size_t at = 0; at < filesOfRun; ++at) {
      paths_.push_back("/home/anna/Downloads/project/source/a file of " + std::to_string(at) +
                       ".cpp");
      chunk_ += paths_.back() + ": OK\n";
    }
  }
  void run() {
    report_.startRun({}, paths_);
    report_.dealWithOutput(chunk_);
    report_.endRun(false);
  }

 private:
  quillo::ManualClock clock_;
  quillo::FakePlatform desktop_;
  quillo::Dispatcher dispatcher_{clock_, desktop_.systemLog, desktop_.volumes, nullptr};
  quillo::FakeScannerOwner owner_{dispatcher_};
  NoObserver observer_;
  quillo::ScannerServices services_ = [this] {
    const quillo::ScannerServices given = scannerServicesOf(desktop_, clock_, owner_, nullptr);
    return quillo::ScannerServices{given.application,      given.clock,       given.theDialogList,
                                   given.theDispatcher,    given.folders,     given.interfaceLoader,
                                   given.localizedStrings, given.mainMenu,    given.modifierKeys,
                                   given.notifier,         given.preferences, observer_,
                                   given.systemLog,        given.workspace};
  }();
  quillo::ScanReport report_{owner_, services_};
  std::vector<std::string> paths_;
  std::string chunk_;
};

// Standard output leads into a file of its own for as long, as the agent's does into its log.
class OwnLog {
 public:
  OwnLog() {
    const int file =
        open(log_.at("scan.log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    std::fflush(stdout);
    dup2(file, STDOUT_FILENO);
    close(file);
  }
  ~OwnLog() { output_.restore(); }
  OwnLog(const OwnLog&) = delete;
  OwnLog& operator=(const OwnLog&) = delete;

 private:
  quillo::RestoredOutput output_;
  quillo::TemporaryFolder log_;
};

void reportLines(benchmark::State& state) {
  const OwnLog log;
  ReportOfMany report;
  Tenths runs;
  for (auto step : state) {
    runs.time([&] { report.run(); });
  }
  runs.report(state);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(filesOfRun));
}
// As many as make a log of 20 MB.
BENCHMARK(reportLines)->Name("report lines")->Iterations(1000)->Unit(benchmark::kMicrosecond);

// As users write them: names of folders and endings, every fourth one an expression.
std::vector<quillo::ExcludePattern> patterns(std::size_t count) {
  std::vector<quillo::ExcludePattern> chosen;
  for (std::size_t at = 0; at < count; ++at) {
    quillo::ExcludePattern pattern;
    const std::string number = std::to_string(at);
    pattern.isRegEx = at % 4 == 3;
    pattern.text = pattern.isRegEx ? "^.*\\.(tmp|part)" + number + "$"
                   : at % 4 == 1   ? ".ending" + number
                                   : "~/Projects/build" + number + "/";
    chosen.push_back(pattern);
  }
  return chosen;
}

void exclude(benchmark::State& state) {
  const quillo::PatternList list(patterns(static_cast<std::size_t>(state.range(0))), "/home/anna");
  std::vector<std::string> paths;
  for (std::size_t at = 0; at < filesOfRun; ++at) {
    paths.push_back("/home/anna/Downloads/project/source/a file of " + std::to_string(at) + ".cpp");
  }
  std::size_t at = 0;
  for (auto step : state) {
    benchmark::DoNotOptimize(list.excluding(paths[at++ % paths.size()]));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(exclude)->Name("exclusion")->ArgName("patterns")->Arg(1)->Arg(10)->Arg(100);

}  // namespace
}  // namespace bench
