#include "companion/planned/PlannedScanRun.h"

#include <atomic>
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
constexpr Clock::Duration betweenLooks = std::chrono::seconds(1);
constexpr std::chrono::seconds longestAnswer(5);

}  // namespace

bool awaitEngine(Clock& clock, const std::function<bool()>& answers,
                 const std::function<bool()>& isEnded) {
  Clock::Duration next = clock.now();
  const Clock::Duration deadline = next + patience;
  Condition pause(clock);
  while (!isEnded() && clock.now() < deadline) {
    if (clock.now() >= next) {
      if (answers()) {
        return true;
      }
      next = clock.now() + betweenQuestions;
    }
    pause.lock();
    pause.waitFor(betweenLooks);
    pause.unlock();
  }
  return false;
}

bool isEngineThere(const std::string& engine) {
  const auto bytes = ClamConf::bytesOf(engine + "/etc/clamd.conf");
  const std::string socket = bytes ? discernLocalSocket(*bytes).path.value_or("") : "";
  return socket.empty() ||
         pingDaemon(socket, trustedDaemonUsers(ClamConf::parse(*bytes).value("User")),
                    longestAnswer) != DaemonState::absent;
}

PlannedScanOutcome runToOutcome(const std::vector<std::string>& paths,
                                const ManualScanServices& services, ScanHistory* history,
                                const std::function<bool()>& engineAnswers) {
  Ending ending;
  const auto scan = std::make_shared<ManualScan>(services, ending, history);
  const auto isEnded = std::make_shared<std::atomic<bool>>(false);
  {
    const InterruptWatch interrupts(services.threads, [scan, isEnded] {
      *isEnded = true;
      scan->stop();
    });
    awaitEngine(services.clock, engineAnswers, [isEnded] { return isEnded->load(); });
    scan->run(paths);
  }
  const ManualScanResult& result = ending.result;
  PlannedScanOutcome outcome;
  outcome.found = result.found;
  outcome.isStopped = result.isStopped;
  outcome.lacksDefinitions = result.lacksDefinitions;
  outcome.isComplete = result.isComplete();
  for (const std::string& sentence : ScanWords(services.localizedStrings).report(result)) {
    outcome.words += (outcome.words.empty() ? "" : "\n") + sentence;
  }
  return outcome;
}

}  // namespace quillo
