#include <sys/auxv.h>
#include <sys/resource.h>
#include <unistd.h>

#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "clamav/VerdictChannel.h"
#include "posix/FileFacts.h"
#include "tools/clamdscan/ClientWrapper.h"
#include "tools/clamdscan/RealClient.h"

namespace quillo::wrapper {
namespace {

std::vector<std::string> pathsOfThisProgram() {
  std::vector<std::string> paths;
  if (const unsigned long name = getauxval(AT_EXECFN); name != 0) {
    paths.emplace_back(reinterpret_cast<const char*>(name));
  }
  if (auto program = targetOfLink("/proc/self/exe")) {
    paths.push_back(std::move(*program));
  }
  return paths;
}

// As the tree's daemon does (docs/adr/0041-the-engine-gives-way.md). Where it is shown how far the
// scan has come, somebody waits for it.
void giveWay(const VerdictSender& starter) {
  constexpr int niceness = 15;
  if (!starter.wantsProgress() && getpriority(PRIO_PROCESS, 0) < niceness) {
    setpriority(PRIO_PROCESS, 0, niceness);
  }
}

int run(const std::vector<std::string>& words) {
  TreeSettings tree = TreeSettings::find(pathsOfThisProgram());
  const CommandLine asked = CommandLine::parse(words);
  if (asked.configuration) {
    tree.useConfiguration(*asked.configuration);
  }
  std::optional<VerdictSender> channel = VerdictSender::fromEnvironment();
  if (channel) {
    giveWay(*channel);
  }
  Report report({STDOUT_FILENO, asked.toStdout ? STDOUT_FILENO : STDERR_FILENO, asked.infectedOnly,
                 asked.quiet, channel ? &*channel : nullptr});
  Starter starter(channel ? channel->descriptor() : -1, STDOUT_FILENO);
  if (isForRealClient(tree, asked)) {
    becomeRealClient(tree, asked, words, report, channel ? &starter : nullptr);
    report.flush();
    return report.exitStatus();
  }
  if (channel && channel->wantsProgress()) {
    starter.obeyPauses();
  }
  SystemClock clock;
  return ClientWrapper(tree, asked, report, clock, starter).run();
}

}  // namespace
}  // namespace quillo::wrapper

int main(int argc, char** argv) {
  try {
    return quillo::wrapper::run(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const quillo::wrapper::Starter::Gone&) {
    return 2;
  } catch (const std::exception& problem) {
    const std::string line = std::string("ERROR: clamdscan: ") + problem.what() + "\n";
    return quillo::writeAll(STDOUT_FILENO, line) ? 2 : 3;
  }
}
