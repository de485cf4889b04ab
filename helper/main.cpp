#include <linux/capability.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string_view>

#include "helper/Confinement.h"
#include "helper/EventLoop.h"
#include "helper/Events.h"
#include "helper/Failure.h"
#include "helper/Marker.h"
#include "helper/OwnLog.h"
#include "helper/Rights.h"
#include "posix/Version.h"

namespace {

using namespace quillo::helper;

void watch() {
  requireRoot();
  const Parent parent = findParent();
  OwnLog log(parent);
  openSystemLog();
  becomeCallerKeeping({CAP_SYS_ADMIN, CAP_DAC_READ_SEARCH});
  const Groups groups = openGroups();
  const quillo::UniqueFd marker = startMarker(groups);
  giveUp(CAP_SYS_ADMIN);
  EventLoop loop(groups, parent, std::move(log), marker.get());
  confineReader();
  loop.run();
}

constexpr const char* help =
    "gfslogger\n"
    "    prints the path of each file that appears or changes, one a line, until it is ended or "
    "its\n"
    "    reader is; has to be set-user-ID root; vantrel-quillo starts it. See gfslogger(8).\n"
    "gfslogger --help\n"
    "gfslogger --version\n";

// The agent may read standard error and output from one pipe: no line of it may look like a path.
int say(const char* reason, int status) {
  dprintf(STDERR_FILENO, "gfslogger: %s\n", reason);
  return status;
}

// By hand: getopt_long(3) asks the environment and the locale, and complains in the caller's words.
int answer(int argc, std::string_view word) {
  if (argc != 2 || (word != "--help" && word != "--version")) {
    return say("takes no arguments", misused);
  }
  const int status = word == "--help" ? quillo::printText(help) : quillo::printVersion("gfslogger");
  return status == 0 ? ended : failed;
}

}  // namespace

#ifndef QUILLO_SECCOMP
// A sanitizer looks for leaks by tracing the process, which one with these rights does not allow.
extern "C" const char* __asan_default_options();
const char* __asan_default_options() { return "detect_leaks=0"; }
#endif

int main(int argc, char** argv) {
  try {
    shedInheritance();
    if (argc > 1) return answer(argc, argv[1]);
    watch();
    return ended;
  } catch (const ReaderGone&) {
    return ended;
  } catch (const EventsLost&) {
    return eventsLost;
  } catch (const LacksRights& reason) {
    return say(reason.what(), lacksRights);
  } catch (const std::exception& reason) {
    return say(reason.what(), failed);
  }
}
