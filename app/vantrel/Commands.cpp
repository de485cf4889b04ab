#include "app/vantrel/Commands.h"

#include "app/vantrel/CompanionParts.h"
#include "companion/ScanCommand.h"
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
      command("scan", "PATH... [--json]", "scans files and folders at once", scan),
  });
}

}  // namespace quillo
