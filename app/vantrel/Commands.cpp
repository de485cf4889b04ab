#include "app/vantrel/Commands.h"

#include <unistd.h>

#include <climits>
#include <string>

#include "app/vantrel/CompanionParts.h"
#include "companion/ExplainCommand.h"
#include "companion/ScanCommand.h"
#include "companion/StatusCommand.h"
#include "platform/AgentLink.h"
#include "platform/linux/companion/CommandPlatform.h"

namespace quillo {
namespace {

using Words = Command::Words;
using Run = int (*)(CompanionParts& parts, const Words& words, std::ostream& out,
                    std::ostream& errors);

int scan(CompanionParts& parts, const Words& words, std::ostream& out, std::ostream& errors) {
  return runScanCommand(
      words, out, errors,
      {parts.scanServices(), &parts.keepScans(ScanSource::byHand), &parts.allowedFinds});
}

int status(CompanionParts& parts, const Words& words, std::ostream& out, std::ostream& errors) {
  const CompanionDesktop& desktop = parts.desktop;
  return runStatusCommand(words, out, errors,
                          {desktop.agentLink, desktop.clock, desktop.localizedStrings,
                           parts.preferences, parts.historyCounts});
}

// "" while it watches.
std::string stateOfAgent(AgentLink& agent) {
  if (!agent.refresh().empty()) {
    return "unknown";
  }
  const auto status = agent.status();
  const std::string state = status ? status->state : "none";
  return state == "watching" ? "" : state;
}

int explain(CompanionParts& parts, const Words& words, std::ostream& out, std::ostream& errors) {
  AgentLink& agent = parts.desktop.agentLink;
  char folder[PATH_MAX];
  return runExplainCommand(
      words, out, errors,
      {parts.explanationServices(), parts.desktop.localizedStrings,
       getcwd(folder, sizeof folder) ? folder : "", [&agent] { return stateOfAgent(agent); }});
}

// What it needs is made when it runs, and for no other command.
Command command(const char* name, const char* arguments, const char* summary, Run run) {
  return {name, arguments, summary,
          [run](const Words& words, std::ostream& out, std::ostream& errors) {
            const CommandPlatform platform;
            CompanionParts parts(platform.services());
            return run(parts, words, out, errors);
          }};
}

}  // namespace

CommandTable commands() {
  return CommandTable({
      command("status", "[--json]", "says in one sentence whether files are guarded, and the facts",
              status),
      command("scan", "PATH... [--json]", "scans files and folders at once", scan),
      command("explain", "PATH [--json]", "says whether a file is guarded, and which rule decides",
              explain),
  });
}

}  // namespace quillo
