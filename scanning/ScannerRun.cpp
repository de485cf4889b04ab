// How the scanner runs the engine and hears its report.

#include "platform/Notifier.h"
#include "platform/SystemLog.h"
#include "posix/PlatformException.h"
#include "scanning/AbortedScans.h"
#include "scanning/EngineRun.h"
#include "scanning/Scanner.h"
#include "scanning/ScannerOwner.h"
#include "scanning/ScannerServices.h"

namespace quillo {

void Scanner::performScan(const std::vector<std::string>& thePaths) {
  report_.startRun({quarantineOrTrash, quarantineLocation, false}, thePaths);
  {
    const AbortedScans::Run noted(services_.abortedScans, [this] { return report_.unjudged(); });
    EngineRun run(owner_, services_, scanParams, thePaths);
    run.perform([this, &run, &thePaths] { runEngine(run, thePaths); });
  }
  report_.endRun();
}

void Scanner::runEngine(EngineRun& run, const std::vector<std::string>& thePaths) {
  if (scanParams.empty()) {
    // The first of the paths would be taken for the engine, and run.
    throw PlatformException(PlatformException::Kind::cannotLaunch, "InvalidArgumentException",
                            "launch path not accessible");
  }
  run.takeArguments(thePaths);
  std::optional<Pipe> outputPipe = makeOutputPipe();
  std::optional<PipeReader> taskOutput = takeReadingEnd(outputPipe);
  run.launch(std::move(outputPipe), std::move(taskOutput), report_.verdicts());
  run.waitUntilExit(
      [this](std::string_view chunk) { return taskDataAvailable(chunk); },
      [this] {
        report_.showEngineError((mainMenu ? *mainMenu : owner_.mainMenu()).getQuitMenuName());
      });
  run.finish();
}

std::optional<Pipe> Scanner::makeOutputPipe() {
  std::optional<Pipe> outputPipe = pipes_.make();
  if (outputPipe) {
    return outputPipe;
  }
  services_.systemLog.log(
      "Hold on to your hats, I think we're about to crash - outputPipe is null");
  outputPipe = pipes_.make();
  if (outputPipe) {
    services_.systemLog.log(
        "Looks like trying again for another outputPipe worked! Cross your fingers and keep "
        "hoping");
    tellOfLuck();
  } else {
    services_.systemLog.log("Nope, retry failed - outputPipe is still null");
  }
  return outputPipe;
}

std::optional<PipeReader> Scanner::takeReadingEnd(std::optional<Pipe>& outputPipe) {
  const auto ask = [this, &outputPipe] {
    return outputPipe ? pipes_.readingEnd(*outputPipe) : std::nullopt;
  };
  std::optional<PipeReader> taskOutput = ask();
  if (taskOutput) {
    return taskOutput;
  }
  services_.systemLog.log("All bets are off - we're crashing - taskOutput is null");
  taskOutput = ask();
  if (taskOutput) {
    services_.systemLog.log(
        "Looks like trying again for another taskOutput worked! Cross your fingers and keep "
        "hoping");
    tellOfLuck();
  } else {
    services_.systemLog.log(
        "Yet again, retrying failed - taskOutput is still null - this sucker's gonna blow!");
  }
  return taskOutput;
}

void Scanner::tellOfLuck() {
  services_.notifier.displayGrowlDialogWithTitleAndDescription(
      notificationError, "We should have crashed here, please let me know either way. Thanks");
}

bool Scanner::taskDataAvailable(std::string_view chunk) {
  if (chunk.empty()) {
    return false;
  }
  report_.dealWithOutput(chunk);
  return true;
}

}  // namespace quillo
