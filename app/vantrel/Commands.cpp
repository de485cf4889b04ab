#include "app/vantrel/Commands.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "app/vantrel/CompanionParts.h"
#include "app/vantrel/SelfTestParts.h"
#include "companion/CommandWords.h"
#include "companion/doctor/DoctorCommand.h"
#include "companion/folders/ExplainCommand.h"
#include "companion/overview/Guard.h"
#include "companion/overview/StatusCommand.h"
#include "companion/planned/PlannedScanCommand.h"
#include "companion/planned/PlannedScanRun.h"
#include "companion/quarantine/QuarantineCommand.h"
#include "companion/scan/InterruptWatch.h"
#include "companion/scan/ScanCommand.h"
#include "companion/selftest/TestCommand.h"
#include "platform/AgentLink.h"
#include "platform/Application.h"
#include "platform/Session.h"
#include "platform/linux/companion/CommandPlatform.h"
#include "posix/Version.h"

namespace quillo {
namespace {

using Words = Command::Words;
using Run = int (*)(CompanionParts& parts, const Words& words, std::ostream& out,
                    std::ostream& errors);

// One of another version may not know of planned scans.
bool isShownByAgent(const CompanionDesktop& desktop, const std::string& report, bool isFind) {
  desktop.agentLink.refresh();
  const auto status = desktop.agentLink.status();
  const bool isThere = status && status->program == projectVersion;
  if (isThere) {
    desktop.distributedNotificationCenter.post(isFind ? plannedScanFound : plannedScanEnded,
                                               report);
  }
  return isThere;
}

int scan(CompanionParts& parts, const Words& words, std::ostream& out, std::ostream& errors) {
  if (isPlannedScan(words)) {
    const auto run = [&parts](const std::vector<std::string>& paths) {
      const std::string engine = parts.preferences.value(key::pathToClamav).value_or("");
      return runToOutcome(paths, parts.scanServices(), &parts.keepScans(ScanSource::planned),
                          [engine] { return isEngineThere(engine); });
    };
    const auto showByAgent = [&parts](const std::string& report, bool isFind) {
      return isShownByAgent(parts.desktop, report, isFind);
    };
    return runPlannedScan(words, errors,
                          {parts.desktop.localizedStrings, parts.desktop.growl, run, showByAgent});
  }
  return runScanCommand(
      words, out, errors,
      {parts.scanServices(), &parts.keepScans(ScanSource::byHand), &parts.allowedFinds});
}

int quarantine(CompanionParts& parts, const Words& words, std::ostream& out, std::ostream& errors) {
  return runQuarantineCommand(words, out, errors, parts.quarantineServices());
}

bool isGone(const std::string& path) {
  struct stat found = {};
  return stat(path.c_str(), &found) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

int status(CompanionParts& parts, const Words& words, std::ostream& out, std::ostream& errors) {
  const CompanionDesktop& desktop = parts.desktop;
  return runStatusCommand(words, out, errors,
                          {desktop.agentLink, desktop.clock, desktop.localizedStrings,
                           parts.preferences, parts.historyCounts, isGone});
}

int doctor(CompanionParts& parts, const Words& words, std::ostream& out, std::ostream& errors) {
  return runDoctorCommand(
      words, out, errors,
      {parts.desktop.agentLink, parts.desktop.desktopCheck, parts.doctorServices()});
}

// Why nothing can be asked. One that is just beginning has not answered yet.
std::string problemOfAgent(const CompanionDesktop& desktop) {
  const Wording problem = desktop.agentLink.refresh();
  return desktop.agentLink.presence() == AgentPresence::silent
             ? problem.in(desktop.localizedStrings)
             : "";
}

int test(CompanionParts& parts, const Words& words, std::ostream& out, std::ostream& errors) {
  SelfTestParts selfTest(parts, true);
  // Its thread may outlive this frame.
  const auto isInterrupted = std::make_shared<std::atomic<bool>>(false);
  const InterruptWatch interrupts(parts.threads, [isInterrupted] { *isInterrupted = true; });
  return runTestCommand(words, out, errors,
                        {parts.desktop.clock, parts.desktop.localizedStrings, selfTest.evidence,
                         moveFoldersOf(parts), [&parts] { return problemOfAgent(parts.desktop); },
                         [isInterrupted] { return isInterrupted->load(); }});
}

// "" while it watches and what it watches is scanned.
std::string stateOfAgent(CompanionParts& parts) {
  AgentLink& agent = parts.desktop.agentLink;
  agent.refresh();
  return watchingStateOf(agent.presence(), agent.status(), parts.desktop.localizedStrings);
}

int explain(CompanionParts& parts, const Words& words, std::ostream& out, std::ostream& errors) {
  return runExplainCommand(words, out, errors,
                           {parts.explanationServices(), parts.desktop.localizedStrings,
                            currentFolder(), [&parts] { return stateOfAgent(parts); }});
}

// What it needs is made when it runs, and for no other command.
Command command(const char* name, const char* arguments, const char* summary, Run run) {
  return {name, arguments, summary,
          [run](const Words& words, std::ostream& out, std::ostream& errors) {
            const CommandPlatform platform;
            CompanionParts parts(platform.services());
            const int status = run(parts, words, out, errors);
            if (!parts.endHistory()) {
              // Its thread is at work on what lies on this stack, and ends with the process only.
              out.flush();
              errors.flush();
              parts.desktop.application.exit(status);
            }
            return status;
          }};
}

}  // namespace

CommandTable commands() {
  return CommandTable({
      command("status", "[--json]", "says in one sentence whether files are guarded, and the facts",
              status),
      command("doctor", "[--json]",
              "looks at everything that guarding rests on, and says what mends it", doctor),
      command("scan", "PATH... [--json]", "scans files and folders at once", scan),
      command("quarantine",
              "list|restore|delete|check [FILE...|--all] [--json]\n"
              "        [--to FOLDER] [--make-folder]",
              "says what lies in the quarantine, puts it back, deletes it, checks it again",
              quarantine),
      command("explain", "PATH [--json]", "says whether a file is guarded, and which rule decides",
              explain),
      command("test", "[--json]", "tries the whole way of an infected file with a harmless one",
              test),
  });
}

}  // namespace quillo
