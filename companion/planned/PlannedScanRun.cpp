#include "companion/planned/PlannedScanRun.h"

#include <memory>

#include "clamav/ClamConf.h"
#include "clamav/ControlSocket.h"
#include "companion/scan/InterruptWatch.h"
#include "companion/scan/ScanWords.h"
#include "posix/Clock.h"

namespace quillo {
namespace {

// Nobody looks on; what is found is in the history, and counted at the end.
struct Ending final : ManualScanObserver {
  void verdict(const Verdict&) override {}
  void advanced() override {}
  void ended(const ManualScanResult& given) override { result = given; }

  ManualScanResult result;
};

constexpr Clock::Duration patience = std::chrono::minutes(10);
constexpr Clock::Duration betweenQuestions = std::chrono::seconds(5);
constexpr std::chrono::seconds longestAnswer(5);

}  // namespace

bool awaitEngine(Clock& clock, const std::function<bool()>& answers) {
  const Clock::Duration deadline = clock.now() + patience;
  Condition pause(clock);
  while (!answers()) {
    if (clock.now() >= deadline) {
      return false;
    }
    pause.lock();
    pause.waitFor(betweenQuestions);
    pause.unlock();
  }
  return true;
}

bool isEngineThere(const std::string& engine) {
  const auto bytes = ClamConf::bytesOf(engine + "/etc/clamd.conf");
  const std::string socket = bytes ? discernLocalSocket(*bytes).path.value_or("") : "";
  return socket.empty() ||
         pingDaemon(socket, trustedDaemonUsers(ClamConf::parse(*bytes).value("User")),
                    longestAnswer) != DaemonState::absent;
}

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
